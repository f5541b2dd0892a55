#pragma once

// The binary interface between the program and its kernel module. Plain C types only:
// the module is built and loaded separately, so nothing here may change layout
// without raising VM_KERNEL_ABI_VERSION.
//
// Conventions
// - Pixel coordinates: origin at the top-left, x right, y down; pixel (i, j) covers
//   [i, i + 1) x [j, j + 1) and is sampled at its centre.
// - Source pixels: sRGB-encoded, straight (unpremultiplied) alpha, as decoded; the
//   pyramid's levels above them linear and premultiplied (VM_FORMAT_LINEAR16).
// - Destination pixels: RGBA float, premultiplied, sRGB-encoded values (the engine's
//   tile format). Kernels interpolate in linear light and encode the result.

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define VM_KERNEL_ABI_VERSION 5
#define VM_MAX_LEVELS 24

/// Byte layouts of source pixels.
enum VmPixelFormat {
    VM_FORMAT_RGBA8 = 0,  ///< bytes R, G, B, A
    VM_FORMAT_BGRA8 = 1,  ///< bytes B, G, R, A (Qt's 32-bit formats on little-endian)
    VM_FORMAT_RGBA16 = 2, ///< 16-bit words R, G, B, A in native byte order
    /// Every pyramid level above 0, whatever level 0 is: 16-bit words R, G, B, A in
    /// linear light, premultiplied, 65535 = 1, native byte order; each row is followed
    /// by a copy of its first texel, so texel x + 1 is always beside texel x, at the
    /// wrap too, and one load reads a bilinear pair.
    VM_FORMAT_LINEAR16 = 3,
};

/// One level of a mip pyramid; level 0 is the picture as decoded (in the sampler's
/// format), the others VM_FORMAT_LINEAR16. `width` does not count a row's padding.
typedef struct VmLevel {
    const void* pixels;
    int32_t width;
    int32_t height;
    int64_t stride; ///< bytes from one row to the next
} VmLevel;

/// A source picture and its pyramid, read-only while a kernel runs.
typedef struct VmSampler {
    int32_t format;     ///< VmPixelFormat of level 0
    int32_t opaque;     ///< 1 when every pixel has alpha 1 (lets samplers skip alpha)
    int32_t levelCount; ///< at least 1
    VmLevel levels[VM_MAX_LEVELS];
    const float* decode8;  ///< 256 entries: sRGB code -> linear light
    const float* decode16; ///< 65536 entries: sRGB 16-bit code -> linear light
    const float* encode;   ///< VM_ENCODE_SIZE + 2 entries: linear i / size -> sRGB, last repeated
    /// Colour step across the wrap seam, row by row of level 0: (first columns - last
    /// columns), linear premultiplied RGBA, blurred vertically. seamRows is 0 when
    /// the table has not been built.
    const float* seamDelta;
    int32_t seamRows;
    /// 1 when the picture's ends continue into each other (a 360 panorama): only the
    /// colour step is blended. 0 when they do not: the ends themselves cross-fade.
    int32_t seamWraps;
    /// The picture's top and bottom edges for filling the sphere beyond them: for each,
    /// edgeColumns + 1 running sums (from 0) of the edge's columns, each the mean of a
    /// few rows next to the edge, linear premultiplied RGBA; the top's first. Null
    /// when not built.
    const float* edgeSums;
    int32_t edgeColumns;
} VmSampler;

#define VM_ENCODE_SIZE 4096

typedef struct VmVec2 {
    float x;
    float y;
} VmVec2;

/// The rectangle a kernel call fills: (x, y) is the top-left destination pixel.
typedef struct VmDestination {
    int32_t x;
    int32_t y;
    int32_t width;
    int32_t height;
    float* pixels;  ///< RGBA floats, premultiplied, sRGB-encoded
    int64_t stride; ///< floats from one row to the next
} VmDestination;

/// One render's projection, in the kernel's terms. Angles in radians; sizes in
/// pixels. `abiVersion` is the caller's VM_KERNEL_ABI_VERSION: a module given any
/// other version leaves the destination untouched rather than misread the fields.
typedef struct VmProjection {
    int32_t abiVersion;
    VmVec2 inputSize;  ///< the source's level-0 size
    VmVec2 outputSize; ///< the square's size
    float zoom;
    float convexity;
    float rotation;
    float twist;
    float shiftX;
    float horizon;
    float flipX;
    float flipY;
    int32_t invert; ///< 0 or 1
    float blendWidth;
    float repeats;
    /// Where the picture lies on the sphere: its rows run from coverTop to coverTop +
    /// coverHeight, as fractions of the sphere from the zenith (0) to the nadir (1).
    /// (0, 1) is a full panorama. Beyond the picture the kernel fills in its edge row,
    /// blurred round the sphere the more the nearer the pole.
    float coverTop;
    float coverHeight;
    /// Levelling, row-major: turns a direction of the level world (x right, y the
    /// panorama's middle, z down) into the camera's, for a camera that was not held
    /// level. The identity for none.
    float pose[9];
    /// The picture's columns round the circle: from coverLeft, a fraction of the
    /// circle from the panorama's left end (where u = 0), over coverWidth of it.
    /// (0, 1) goes once round. In the part it leaves open, its two side edges are
    /// continued, blurred, and cross-fade into each other.
    float coverLeft;
    float coverWidth;
} VmProjection;

/// The projection kernel: the source sampler, the projection and the destination.
typedef void (*VmTinyPlanetFn)(const VmSampler* source, const VmProjection* projection,
                               const VmDestination* destination);

/// Every module exports this so the loader can refuse a module built for another ABI.
typedef int32_t (*VmAbiVersionFn)(void);

#ifdef __cplusplus
}
#endif
