#include "BenchSupport.h"

#include "canvas/PlanetCanvas.h"
#include "model/Resources.h"

#include <QApplication>

#include <benchmark/benchmark.h>

using namespace velmora;

// One frame of a move drag with ten layers over the 8000 x 4000 sample: the model
// moves the layer, the canvas repaints what changed. Arg 1 forces a full repaint
// instead, the worst case (a resize of the window, a new preview).
static void canvasDragFrame(benchmark::State& state) {
    const std::unique_ptr<PlanetModel> model = bench::modelWithSample();
    if (!model) {
        state.SkipWithError("no sample panorama in the resources");
        return;
    }
    setResourcesRoot(bench::resources());
    bench::addLayers(*model, 10);
    PlanetCanvas canvas(*model);
    canvas.resize(1000, 860);
    canvas.show();
    QApplication::processEvents();
    const QUuid moving = model->layers().front().id;
    const bool full = state.range(0) == 1;
    double dx = 0.002;
    for (auto _ : state) {
        model->updateLayer(moving, [&](PlacedLayer& l) {
            l.center.x += dx;
            if (l.center.x > 0.8 || l.center.x < 0.2)
                dx = -dx;
        });
        if (full)
            canvas.repaint();
        else
            QApplication::processEvents(); // paints the dirty region only
    }
    state.SetLabel(full ? "full repaint" : "dirty region");
    setResourcesRoot({});
}
BENCHMARK(canvasDragFrame)
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->MinTime(2.0);
