#pragma once

#include "filter/ProjectionParameters.h"
#include "kernels/KernelAbi.h"
#include "render/Image.h"
#include "render/Result.h"

#include <QString>

#include <optional>

namespace velmora {

/// Wraps an equirectangular picture into a square tiny planet with the "tinyPlanet"
/// kernel, which lives in its own module, `<resources>/kernels/tinyplanet.so`.
class TinyPlanetFilter {
public:
    static inline const QString kernelFailureMessage = QStringLiteral(
        "Couldn't load the tinyPlanet kernel. Check the Metal build flags (see setup notes).");

    /// Where the module must be for a given resources folder.
    static QString modulePath(const QString& resourcesRoot);

    /// Loads the kernel from `resourcesRoot`. A module that is missing, unreadable,
    /// built for another interface or lacks the function fails with
    /// kernelFailureMessage and a second line naming the module and what is wrong;
    /// the application decides to stop.
    static Result<TinyPlanetFilter> load(const QString& resourcesRoot);

    /// The planet as a recipe with extent (0, 0, side, side), side being
    /// `outputSide` or the source's larger side; nothing for an empty, zero-sized or
    /// infinite source. The source is moved to the origin, not copied.
    std::optional<render::Image> apply(const render::Image& source,
                                       const ProjectionParameters& parameters) const;

private:
    explicit TinyPlanetFilter(VmTinyPlanetFn kernel)
        : m_kernel(kernel) {}

    VmTinyPlanetFn m_kernel = nullptr;
};

} // namespace velmora
