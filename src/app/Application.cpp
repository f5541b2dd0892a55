#include "app/Application.h"

#include "model/PlanetModel.h"
#include "model/Resources.h"

#include <QApplication>
#include <QLabel>
#include <QMainWindow>

namespace velmora {

int runWindow(int& argc, char** argv, const cli::Invocation& invocation) {
    QApplication app(argc, argv);
    if (!invocation.resources.isEmpty())
        setResourcesRoot(invocation.resources);
    QMainWindow window;
    window.setWindowTitle(QStringLiteral("Velmora"));
    window.setMinimumSize(1100, 760);
    auto* model = new PlanetModel(&window);
    if (!invocation.image.isEmpty())
        model->loadImageFile(invocation.image);
    auto* preview = new QLabel(&window);
    preview->setAlignment(Qt::AlignCenter);
    preview->setPixmap(QPixmap::fromImage(model->previewImage()));
    window.setCentralWidget(preview);
    window.show();
    return app.exec();
}

} // namespace velmora
