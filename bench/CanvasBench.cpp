#include "BenchSupport.h"

#include "canvas/PlanetCanvas.h"
#include "model/Resources.h"
#include "ui/ContentView.h"
#include "ui/SettingSlider.h"
#include "ui/Sidebar.h"

#include <QApplication>
#include <QSlider>

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

// How fast the sliders feel: from a change of the Rotate slider's value to the
// repainted canvas, in the window at its smallest (1100 x 760) with the sample.
// Arg 0: the preset (-1 the defaults). Arg 1: the kind of change (below).
static void sliderToCanvas(benchmark::State& state) {
    const QImage picture = bench::samplePicture();
    Result<PlanetRenderer> renderer = PlanetRenderer::load(bench::resources());
    if (picture.isNull() || !renderer) {
        state.SkipWithError("no sample panorama or kernel in the resources");
        return;
    }
    setResourcesRoot(bench::resources());
    {
        ui::ContentView view(*renderer);
        view.resize(1100, 760);
        view.show();
        PlanetModel& model = view.model();
        model.loadImage(render::Image::fromQImage(picture), QStringLiteral("panorama"));
        const auto preset = state.range(0);
        if (preset >= 0)
            model.applyPreset(allPresets[static_cast<size_t>(preset)]);
        QApplication::processEvents();
        // Mode 0: the full preview after a run; 1: Rotate dragged (drafts); 2: Gamma
        // dragged (the grade over the kept projection, at full size).
        const auto mode = state.range(1);
        QSlider* slider =
            view.sidebar()
                ->slider(mode == 2 ? QStringLiteral("Gamma") : QStringLiteral("Rotate"))
                ->slider();
        if (mode != 0)
            slider->setSliderDown(true); // as a press on the knob does
        const int from = slider->value();
        const int by = from + slider->pageStep() <= slider->maximum() ? slider->pageStep()
                                                                      : -slider->pageStep();
        const double degrees = model.setting(Setting::rotationDegrees);
        int step = 0;
        for (auto _ : state) {
            const bool away = ++step % 2 == 1;
            if (mode != 0)
                slider->setValue(from + (away ? by : 0));
            else // what the pause after a run renders
                model.setSetting(Setting::rotationDegrees, degrees + (away ? 5.0 : 0.0));
            QApplication::processEvents(); // the canvas paints the new preview
        }
        if (mode != 0)
            slider->setSliderDown(false);
        static const char* modes[] = {", full", ", Rotate draft", ", Gamma"};
        state.SetLabel((preset >= 0 ? presetTitle(allPresets[static_cast<size_t>(preset)])
                                    : QStringLiteral("defaults"))
                           .toStdString() +
                       modes[mode]);
    }
    setResourcesRoot({});
}
BENCHMARK(sliderToCanvas)
    ->ArgsProduct({benchmark::CreateDenseRange(-1, 4, 1), {1, 2, 0}})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->MinTime(1.0);
