#pragma once
#include <cstdint>
#include <memory>
#include <span>
#include <string>

struct evp_md_ctx_st;

namespace OrvelTool {

/// The hash of bytes that come piece by piece. Throws std::bad_alloc.
class Sha256 {
public:
    Sha256();

    void add(std::span<const std::uint8_t> bytes);
    /// Of all bytes so far, as 64 hexadecimal digits in lower case. Nothing may be added afterwards.
    std::string hex();

private:
    struct Free {
        void operator()(evp_md_ctx_st* context) const noexcept;
    };
    std::unique_ptr<evp_md_ctx_st, Free> context_;
};

}  // namespace OrvelTool
