#include "tools/sha256.h"

#include <fmt/format.h>
#include <openssl/evp.h>

#include <new>

namespace OrvelTool {
namespace {

void require(int done) {
    if (done != 1) throw std::bad_alloc();  // SHA-256 fails for want of memory only
}

}  // namespace

void Sha256::Free::operator()(evp_md_ctx_st* context) const noexcept {
    EVP_MD_CTX_free(context);
}

Sha256::Sha256() : context_(EVP_MD_CTX_new()) {
    require(context_ != nullptr && EVP_DigestInit_ex(context_.get(), EVP_sha256(), nullptr) == 1);
}

void Sha256::add(std::span<const std::uint8_t> bytes) {
    require(EVP_DigestUpdate(context_.get(), bytes.data(), bytes.size()));
}

std::string Sha256::hex() {
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned size = 0;
    require(EVP_DigestFinal_ex(context_.get(), digest, &size));
    std::string text;
    for (unsigned char byte : std::span(digest, size)) text += fmt::format("{:02x}", byte);
    return text;
}

}  // namespace OrvelTool
