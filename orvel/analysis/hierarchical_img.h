#pragma once
#include <deque>
#include <memory>

#include "orvel/img/img.h"
#include "orvel/sys/api.h"

namespace Orvel {

/// A resolution pyramid: level 0 is a view of the caller's picture, every further level the one before it, smoothed and
/// halved both ways. The picture's pixels must stay alive as long as the pyramid.
///
/// A level of w x h pixels is followed by one of ceil(w / 2), rounded up to an even number, by ceil(h / 2), of the same
/// type. Each plane is reduced by itself with the 5 x 5 Gaussian kernel k = 1 4 6 4 1, exactly rounded;
/// what lies outside is mirrored: d(x, y) = (sum of k[i] k[j] s(2x + i - 2, 2y + j - 2) + 128) >> 8. A plane that is
/// larger than what it is made of, by the column that the even width adds or by a row that the chroma of a field view
/// lacks, repeats its last column and row.
///
/// The pictures have 8-bit samples: planes of 1 byte a pixel with one channel, or of 3 or 4 bytes with three channels
/// (BGRImg, whose fourth byte is filtered like the others).
///
/// Operations answer failure by false and print nothing. One pyramid serves one thread at a time; generate() runs on
/// all cores.
class ORVEL_API HierarchicalImg {
public:
    /// The sides of any picture are down to 2 x 1 long before.
    static constexpr int maxLevels = 64;

    HierarchicalImg() noexcept;
    ~HierarchicalImg();  ///< deallocate()
    HierarchicalImg(const HierarchicalImg&) = delete;
    HierarchicalImg& operator=(const HierarchicalImg&) = delete;

    /// Frees the previous pyramid and makes one of base, which may be a level of the previous one, with so many levels,
    /// level 0 counted; fewer than one are one. The pixels of the levels above 0 come with generate().
    /// @return false, with no pyramid left, when base has no type of its own (see Img::replicateType()), no pixels or
    /// other samples, for more than maxLevels, or when memory runs out. Throws std::bad_alloc, also with no pyramid
    /// left, when there is no memory for the list of levels.
    [[nodiscard]] bool allocate(Img& base, int levels);
    /// Appends n levels to a pyramid. @return false, with no pyramid left, when there is none, for more than maxLevels
    /// altogether, or when memory runs out.
    [[nodiscard]] bool allocateLevels(int n);
    /// Makes all levels above 0 anew; call it whenever the base's pixels have changed.
    /// @return false at the first plane that cannot be reduced because it has no pixels (the chroma of a 4:2:0 picture
    /// of width 1); what comes before it is done. True at once when there are fewer than two levels.
    [[nodiscard]] bool generate();
    /// A level, owned by the pyramid; null when there is no such level.
    Img* getImage(unsigned level) const noexcept;
    unsigned numLevels() const noexcept;
    /// Frees everything but the base's pixels. May be called twice.
    void deallocate() noexcept;

private:
    using Levels = std::deque<std::unique_ptr<Img>>;

    bool appendView(const Img& base) noexcept;
    bool appendLevel() noexcept;
    static bool makeLevel(Img& dst, const Img& src) noexcept;

    std::unique_ptr<Levels> levels_;  // null: no pyramid
};

}  // namespace Orvel
