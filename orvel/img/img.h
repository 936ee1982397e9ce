#pragma once
#include <array>
#include <cstdint>
#include <list>

#include "orvel/img/img_plane.h"
#include "orvel/img/types.h"
#include "orvel/sys/aligned_mem.h"
#include "orvel/sys/api.h"

namespace Orvel {

/// A picture: up to four planes of pixels, each with its own size, row step, bytes per pixel and memory, a format code
/// and a list of opaque pointers that travel with the picture through the processing stages.
///
/// A picture owns its memory, wraps the caller's (setExternalMemory) or shares another picture's (shadows: views that
/// copy nothing and keep the memory alive). Views are as good as whole pictures for every operation.
///
/// Planes are addressed by index, 0 first. Accessors read records 0..3 as they stand, also behind numPlanes().
/// A picture has no lock: different pictures may be used from different threads, also views of one memory as long as
/// nobody writes what another reads. Operations print nothing and throw only where said.
class ORVEL_API Img {
public:
    static constexpr int maxPlanes = 4;
    static constexpr std::uint32_t noFormat = 0xFFFFFFFF;  ///< format code of a picture without format
    static constexpr int memoryAlignment = 32;             ///< bytes; of every plane that is allocated
    static constexpr int rowAlignment = 4;                 ///< bytes; rows of what allocate() makes

    /// An empty picture. Throws std::bad_alloc.
    Img();
    /// Releases the planes; the user data's pointers are not freed.
    virtual ~Img();
    Img(const Img&) = delete;  // replicate() and copy() duplicate a picture, shadowCopy() and makeShadow() share it
    Img& operator=(const Img&) = delete;

    // ---- allocation

    /// One plane (plane 0) whose rows are padded to a multiple of 4 bytes. @return as allocatePlane().
    [[nodiscard]] virtual bool allocate(int width, int height, int bpp);
    /// plane < 0: releases all planes; the picture is then empty and without format. plane >= 0: releases that plane,
    /// if it holds memory, and lowers numPlanes() by one, whichever plane it was.
    virtual void deallocate(int plane);
    /// A new empty picture of the same type, owned by the caller; null for the base class or when memory runs out.
    [[nodiscard]] virtual Img* replicateType() const;
    /// Appends a view of this picture's plane to to (at index to.numPlanes()).
    /// @return false when to is full, plane lies outside 0..3 or memory runs out; numPlanes() of to is then unchanged.
    [[nodiscard]] virtual bool shadowCopyPlane(Img& to, int plane) const;
    /// Makes to a view of all planes, of the same format. User data stays here.
    /// @return false when to is this picture (nothing happens) or memory runs out (to is then empty).
    [[nodiscard]] virtual bool shadowCopy(Img& to) const;

    /// Bytes of a row of width pixels, rounded up to a multiple of align; -1 when that does not fit 31 bits or an
    /// argument is out of range (width < 0, align < 1, bpp < 1; a plane without columns may also have a bpp of 0).
    static int computeStep(int width, int bpp, int align) noexcept;
    /// Gives a plane room for width x height pixels with rows padded to a multiple of align bytes. Memory is kept when
    /// it is already large enough, whatever it held. The channels are not touched.
    /// @return false when a size is negative, the bytes exceed 31 bits or memory runs out: the plane is then released.
    [[nodiscard]] bool allocatePlane(int plane, int width, int height, int align, int bpp);
    /// The plane lets go of its memory object and owns m; sizes stay. @return true, but false (m stays the caller's)
    /// when m is null or the plane does not exist.
    bool setMemoryInterface(int plane, IAlignedMem* m);
    /// The plane's memory object, owned by the picture; null for a plane outside 0..3.
    IAlignedMem* getMemoryInterface(int plane) const noexcept;
    /// Makes the plane a view of the caller's memory at p, height rows of step bytes (step < 0: width * bpp). An
    /// existing plane must have exactly these sizes already; plane numPlanes() is appended.
    /// @return false, with nothing changed, when p is null, sizes are negative, do not fit a row or differ, or the
    /// plane would leave a gap.
    [[nodiscard]] bool setExternalMemory(int plane, void* p, int width, int height, int bpp, int step);
    /// The same over a memory object, which the picture owns when the result is true.
    [[nodiscard]] bool setExternalMemory(int plane, IAlignedMem* m, int width, int height, int bpp, int step);
    /// Gives to fresh planes of the same sizes, rows padded to a multiple of align bytes, and this format. Pixels and
    /// channels are not copied. @return false when to is this picture or memory runs out (to is then empty).
    [[nodiscard]] bool replicate(Img& to, int align) const;

    // ---- geometry and addresses

    int numPlanes() const noexcept { return numPlanes_; }
    int getWidth(int plane) const noexcept { return pl(plane).width(); }    ///< pixels in a row
    int getHeight(int plane) const noexcept { return pl(plane).height(); }  ///< rows
    int getStep(int plane) const noexcept { return pl(plane).step(); }      ///< bytes from row to row
    int getBpp(int plane) const noexcept { return pl(plane).bpp(); }        ///< bytes in a pixel
    std::uint32_t getFormat() const noexcept { return format_; }            ///< see format_info.h
    void setFormat(std::uint32_t format) noexcept { format_ = format; }
    /// Samples interleaved in one pixel. @return false for a plane that does not exist.
    bool setInterleavedChannels(int plane, int n) noexcept;
    bool getInterleavedChannels(int plane, int& n) const noexcept;
    /// First pixel of the plane; null when it has no memory.
    std::uint8_t* getPixels(int plane) const noexcept { return pl(plane).memory().data(); }
    /// Address of a pixel; null when row or col lies behind the plane's end (negative ones are not checked).
    std::uint8_t* getPixel(int plane, int row, int col) const noexcept;

    // ---- pixels

    /// setPlane() on every plane, up to the first failure.
    [[nodiscard]] bool set(int value);
    /// Fills a plane: 16-bit samples (2 bytes per pixel, one channel) with the low 16 bits of value, any other plane
    /// byte by byte with the low 8 bits. Rows in parallel.
    /// @return false for a plane that does not exist, or that has rows but no columns.
    [[nodiscard]] bool setPlane(int plane, int value);
    /// Copies all planes, width x height pixels each, to the same planes of to, which must be at least as large there;
    /// to's steps may differ. Planes without pixels are skipped. On the calling thread.
    /// @return false at the first plane that does not fit or has other than 1 to 4 bytes per pixel; earlier planes stay
    /// copied.
    [[nodiscard]] bool copy(Img& to) const;
    [[nodiscard]] bool copyPlane(Img& to, int srcPlane, int dstPlane) const;
    /// Copies with a flip: mode 0 left-right, 1 top-bottom, 2 both. When to is this picture the planes are flipped in
    /// place. @return false for another mode (nothing is touched), otherwise as copy().
    [[nodiscard]] bool copyMirror(Img& to, int mode);
    /// The same for one plane; in place dstPlane is ignored.
    [[nodiscard]] bool copyPlaneMirror(Img& to, int srcPlane, int dstPlane, int mode);

    // ---- views; they leave to as it was when to is this picture

    /// A new picture of this type (a plain Img if it has none) that views this one, owned by the caller; null when
    /// memory runs out.
    [[nodiscard]] Img* makeShadow() const;
    /// Makes to a view of a rectangle, in pixels of plane 0. Plane p takes the rectangle scaled by its size relative to
    /// plane 0, truncated to whole pixels. The rectangle is not compared with the picture's size (a view may so reach
    /// back, with a negative origin, into the picture it was made from), but one that begins outside the memory leaves
    /// to empty. Without planes nothing happens.
    void getShadowRoi(Img& to, tagPOINT origin, tagSIZE size) const;
    /// Appends a view of a rectangle of one plane to to, without releasing it first.
    void getShadowRoiPlane(Img& to, int plane, tagPOINT origin, tagSIZE size) const;
    /// Makes to a view of the lines 0, 2, 4, ... of every plane: ceil(height / 2) rows.
    void getTopFieldShadow(Img& to) const;
    /// Makes to a view of the lines 1, 3, 5, ... of every plane: floor(height / 2) rows.
    void getBottomFieldShadow(Img& to) const;
    /// The same for one plane, appended to to without releasing it first.
    void getTopFieldShadowPlane(Img& to, int plane) const;
    void getBottomFieldShadowPlane(Img& to, int plane) const;

    // ---- field copies

    /// Copies floor(height / 2) lines of each plane, from line 0 (top) or 1 (bottom) in steps of two, to the rows 0, 1,
    /// 2, ... of the same plane of to, which must be large enough; a plane that does not fit is left alone.
    void getTopField(Img& to) const;
    void getBottomField(Img& to) const;
    void getTopFieldPlane(Img& to, int srcPlane, int dstPlane) const;
    void getBottomFieldPlane(Img& to, int srcPlane, int dstPlane) const;

    // ---- pinning

    /// Pins the memory of all planes in RAM. @return true when every plane's memory object did (or there are none).
    [[nodiscard]] bool lockToRam();
    [[nodiscard]] bool lockPlaneToRam(int plane);
    /// By design these pin as well: a picture's memory stays pinned until it is freed.
    [[nodiscard]] bool unlockToRam() { return lockToRam(); }
    [[nodiscard]] bool unlockPlaneToRam(int plane) { return lockPlaneToRam(plane); }

    // ---- user data: an ordered list of pointers that the picture does not own

    /// Appends p; duplicates are allowed. @return false when memory runs out.
    [[nodiscard]] bool addUserData(void* p);
    /// Removes every entry equal to p.
    void delUserData(void* p);
    /// after null: the first entry; else the entry behind the first one equal to after. Null when there is none.
    void* getUserData(void* after) const;
    /// Moves all entries of from behind those of to, in order; an entry that from holds twice arrives once. Moving asks
    /// for no memory.
    static void moveUserData(Img& to, Img& from) noexcept;
    static void moveUserData(std::list<void*>& to, Img& from) noexcept;
    /// Moves all entries of from, as they are, behind those of to.
    static void moveUserData(Img& to, std::list<void*>& from) noexcept;

    // Row-band kernels, see img_kernels.h.
    class CSetU8;
    class CSetI16;
    class CSetI32;
    class CCopyU8;
    class CCopyI16;
    class CAddCU8;
    class CSubCU8;
    class CGainU8;
    class CAbsDiffGainU8;
    template <class T>
    class CSet;

private:
    enum class Field { top, bottom };

    ImgPl& pl(int plane) noexcept { return planes_[static_cast<std::size_t>(plane)]; }
    const ImgPl& pl(int plane) const noexcept { return planes_[static_cast<std::size_t>(plane)]; }
    bool isPlane(int plane) const noexcept { return plane >= 0 && plane < numPlanes_; }
    bool acceptsExternalPlane(int plane, int width, int height, int bpp, int step) const noexcept;
    void takeGeometry(int plane, int width, int height, int bpp, int step) noexcept;
    bool appendView(Img& to, int plane, std::int64_t offset, std::int64_t width, std::int64_t height,
                    int stepFactor) const;
    bool appendFieldView(Img& to, int plane, Field field) const;
    void fieldView(Img& to, Field field) const;
    void fieldCopy(Img& to, int srcPlane, int dstPlane, Field field) const;

    std::array<ImgPl, maxPlanes> planes_;
    std::int32_t numPlanes_ = 0;
    std::uint32_t format_ = noFormat;
    std::list<void*> userData_;
};

}  // namespace Orvel
