// libheif's HEIF and AVIF decoding: a module of its own, loaded only when such a
// picture is opened (see render/CodecModule.h).

#include "model/HeifModule.h"

#include <libheif/heif.h>

#include <algorithm>
#include <cstring>
#include <memory>

namespace velmora {

namespace {

struct ContextFree {
    void operator()(heif_context* c) const { heif_context_free(c); }
};
struct HandleRelease {
    void operator()(heif_image_handle* h) const { heif_image_handle_release(h); }
};
struct ImageRelease {
    void operator()(heif_image* i) const { heif_image_release(i); }
};
struct OptionsFree {
    void operator()(heif_decoding_options* o) const { heif_decoding_options_free(o); }
};

QString reason(const heif_error& error) {
    return QString::fromUtf8(error.message ? error.message : "unknown error");
}

/// The colours the file names: its ICC profile, or the primaries of its nclx
/// description when they are not sRGB's; neither for sRGB or nothing said.
void colourOf(const heif_image_handle* handle, HeifDecoded& out) {
    const heif_color_profile_type type = heif_image_handle_get_color_profile_type(handle);
    if (type == heif_color_profile_type_prof || type == heif_color_profile_type_rICC) {
        QByteArray icc(static_cast<qsizetype>(heif_image_handle_get_raw_color_profile_size(handle)),
                       Qt::Uninitialized);
        if (!icc.isEmpty() &&
            heif_image_handle_get_raw_color_profile(handle, icc.data()).code == heif_error_Ok)
            out.icc = icc;
        return;
    }
    heif_color_profile_nclx* nclx = nullptr;
    if (heif_image_handle_get_nclx_color_profile(handle, &nclx).code != heif_error_Ok || !nclx)
        return;
    if (nclx->color_primaries != heif_color_primaries_ITU_R_BT_709_5 &&
        nclx->color_primaries != heif_color_primaries_unspecified)
        out.primaries = {nclx->color_primary_red_x,   nclx->color_primary_red_y,
                         nclx->color_primary_green_x, nclx->color_primary_green_y,
                         nclx->color_primary_blue_x,  nclx->color_primary_blue_y,
                         nclx->color_primary_white_x, nclx->color_primary_white_y};
    heif_nclx_color_profile_free(nclx);
}

bool looksLikeHeif(const QByteArray& head) {
    if (head.size() < 12)
        return false;
    const heif_filetype_result kind = heif_check_filetype(
        reinterpret_cast<const uint8_t*>(head.constData()), static_cast<int>(head.size()));
    return kind == heif_filetype_yes_supported || kind == heif_filetype_maybe;
}

Result<HeifDecoded> decodeHeif(const QByteArray& data, const HeifSizeCheck& fits,
                               const QString& what) {
    const std::unique_ptr<heif_context, ContextFree> context(heif_context_alloc());
    if (!context)
        return Failure{QStringLiteral("%1: not enough memory to read the picture").arg(what)};
    const heif_error read = heif_context_read_from_memory_without_copy(
        context.get(), data.constData(), static_cast<size_t>(data.size()), nullptr);
    if (read.code != heif_error_Ok)
        return Failure{QStringLiteral("%1: cannot read the picture (%2)").arg(what, reason(read))};
    heif_image_handle* rawHandle = nullptr;
    if (const heif_error e = heif_context_get_primary_image_handle(context.get(), &rawHandle);
        e.code != heif_error_Ok)
        return Failure{QStringLiteral("%1: no picture in the file (%2)").arg(what, reason(e))};
    const std::unique_ptr<heif_image_handle, HandleRelease> handle(rawHandle);

    // Before a pixel is decoded: a size the budget allows and the data can hold.
    const QSize size(heif_image_handle_get_width(handle.get()),
                     heif_image_handle_get_height(handle.get()));
    if (size.isEmpty())
        return Failure{QStringLiteral("%1: the picture has no pixels").arg(what)};
    const bool deep = heif_image_handle_get_luma_bits_per_pixel(handle.get()) > 8;
    if (const Status allowed = fits(size, deep); !allowed)
        return allowed.failure();

    const bool alpha = heif_image_handle_has_alpha_channel(handle.get()) != 0;
    const heif_chroma chroma =
        deep ? heif_chroma_interleaved_RRGGBBAA_LE : heif_chroma_interleaved_RGBA;
    const std::unique_ptr<heif_decoding_options, OptionsFree> options(
        heif_decoding_options_alloc());
    heif_image* rawImage = nullptr;
    if (const heif_error e =
            heif_decode_image(handle.get(), &rawImage, heif_colorspace_RGB, chroma, options.get());
        e.code != heif_error_Ok)
        return Failure{QStringLiteral("%1: cannot decode the picture (%2)").arg(what, reason(e))};
    const std::unique_ptr<heif_image, ImageRelease> image(rawImage);

    int stride = 0;
    const uint8_t* plane =
        heif_image_get_plane_readonly(image.get(), heif_channel_interleaved, &stride);
    const int width = heif_image_get_width(image.get(), heif_channel_interleaved);
    const int height = heif_image_get_height(image.get(), heif_channel_interleaved);
    if (!plane || width <= 0 || height <= 0)
        return Failure{QStringLiteral("%1: the decoder gave no pixels").arg(what)};
    // Held again as decoded: the handle's size is only what the file claimed.
    if (const Status allowed = fits(QSize(width, height), deep); !allowed)
        return allowed.failure();
    HeifDecoded picture;
    picture.image = QImage(width, height, deep ? QImage::Format_RGBA64 : QImage::Format_RGBA8888);
    if (picture.image.isNull())
        return Failure{QStringLiteral("%1: not enough memory for a %2 \u00d7 %3 picture")
                           .arg(what)
                           .arg(width)
                           .arg(height)};
    if (deep) {
        // 10 or 12 significant bits, low-aligned: widen to 16 by repeating the top
        // bits, so white stays white and the precision is kept.
        const int bits = heif_image_get_bits_per_pixel_range(image.get(), heif_channel_interleaved);
        const int b = std::clamp(bits, 9, 16);
        const int up = 16 - b;
        const int down = 2 * b - 16;
        for (int y = 0; y < height; ++y) {
            const auto* in =
                reinterpret_cast<const uint16_t*>(plane + static_cast<qsizetype>(y) * stride);
            auto* out = reinterpret_cast<uint16_t*>(picture.image.scanLine(y));
            for (int i = 0; i < 4 * width; ++i) {
                const uint32_t v = in[i];
                out[i] = static_cast<uint16_t>((v << up) | (v >> down));
            }
        }
    } else {
        for (int y = 0; y < height; ++y)
            std::memcpy(picture.image.scanLine(y), plane + static_cast<qsizetype>(y) * stride,
                        static_cast<size_t>(width) * 4);
    }
    if (!alpha && picture.image.format() == QImage::Format_RGBA8888)
        picture.image.reinterpretAsFormat(QImage::Format_RGBX8888);
    colourOf(handle.get(), picture);
    return picture;
}

const HeifModule module{HeifModule::currentAbiVersion, &looksLikeHeif, &decodeHeif};

} // namespace

} // namespace velmora

extern "C" __attribute__((visibility("default"))) const void* velmoraHeifModule() {
    return &velmora::module;
}
