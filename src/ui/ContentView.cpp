#include "ui/ContentView.h"

#include "canvas/PlanetCanvas.h"
#include "model/Clipboard.h"
#include "model/DocumentFiles.h"
#include "model/ImageDecoding.h"
#include "model/LookFile.h"
#include "model/PlanetModel.h"
#include "model/PlanetRenderer.h"
#include "model/Resources.h"
#include "style/Palette.h"
#include "style/Typography.h"
#include "ui/CanvasRegion.h"
#include "ui/Header.h"
#include "ui/HeaderButton.h"
#include "ui/JobPanel.h"
#include "ui/LayerLibraryPanel.h"
#include "ui/OutputJob.h"
#include "ui/ProgressStrip.h"
#include "ui/Sidebar.h"
#include "ui/SizeSelector.h"
#include "ui/Toast.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QGraphicsOpacityEffect>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QMessageBox>
#include <QMimeData>
#include <QPainter>
#include <QParallelAnimationGroup>
#include <QPropertyAnimation>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>
#include <QVariantAnimation>

namespace velmora::ui {

namespace {

/// A one-pixel divider in the hairline colour.
QWidget* hairline(Qt::Orientation orientation) {
    auto* line = new QWidget;
    line->setAutoFillBackground(true);
    QPalette pal = line->palette();
    pal.setColor(QPalette::Window, style::Palette::hairline);
    line->setPalette(pal);
    if (orientation == Qt::Horizontal)
        line->setFixedHeight(1);
    else
        line->setFixedWidth(1);
    return line;
}

bool clipboardHasImage() {
    const QMimeData* mime = QGuiApplication::clipboard()->mimeData();
    return mime && (mime->hasImage() || mime->hasFormat(QStringLiteral("image/png")) ||
                    mime->hasFormat(QStringLiteral("image/tiff")));
}

constexpr int libraryDrawerWidth = 1 + LayerLibraryPanel::panelWidth;

} // namespace

ContentView::ContentView(const PlanetRenderer& renderer, QWidget* parent)
    : QWidget(parent)
    , m_model(std::make_unique<PlanetModel>(renderer, resourcesRoot())) {
    setObjectName(QStringLiteral("contentView"));
    setMinimumSize(1100, 760);
    chooseImageFile = [this] { return defaultImageFile(); };
    chooseExportFile = [this](const QString& name) { return defaultExportFile(name); };
    chooseLookToSave = [this](const QString& name) {
        return QFileDialog::getSaveFileName(
            this, tr("Save Look"),
            QDir(m_lastFolder.isEmpty() ? QDir::homePath() : m_lastFolder).filePath(name),
            tr("Velmora looks (*.%1)").arg(QLatin1String(lookFileSuffix)));
    };
    chooseLookToApply = [this] {
        return QFileDialog::getOpenFileName(
            this, tr("Apply Look"), m_lastFolder.isEmpty() ? QDir::homePath() : m_lastFolder,
            tr("Velmora looks (*.%1)").arg(QLatin1String(lookFileSuffix)));
    };
    chooseAnimation = [this](const AnimationChoice& last) -> std::optional<AnimationChoice> {
        AnimationDialog dialog(last, this);
        if (dialog.exec() != QDialog::Accepted)
            return std::nullopt;
        return dialog.choice();
    };
    chooseAnimationFile = [this](const QString& name, render::AnimationFormat format) {
        static const char* const filters[] = {QT_TR_NOOP("MP4 video (*.mp4)"),
                                              QT_TR_NOOP("Animated WebP (*.webp)"),
                                              QT_TR_NOOP("GIF (*.gif)")};
        QString path = QFileDialog::getSaveFileName(
            this, tr("Export Animation"),
            QDir(m_lastFolder.isEmpty() ? QDir::homePath() : m_lastFolder).filePath(name),
            tr(filters[static_cast<int>(format)]));
        if (!path.isEmpty() && render::animationFormatForSuffix(QFileInfo(path).suffix()) != format)
            path += QLatin1Char('.') + render::suffixOf(format);
        return path;
    };
    buildLayout();
    buildActions();

    connect(m_model.get(), &PlanetModel::canUndoChanged, this, &ContentView::refreshEnabling);
    connect(m_model.get(), &PlanetModel::canRedoChanged, this, &ContentView::refreshEnabling);
    connect(m_model.get(), &PlanetModel::sourceNameChanged, this, &ContentView::refreshEnabling);
    connect(m_model.get(), &PlanetModel::outputSizeChanged, m_sizes, &SizeSelector::refresh);
    refreshEnabling();
}

ContentView::~ContentView() {
    // The views refer to the model, so they go before it.
    qDeleteAll(findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly));
}

void ContentView::buildLayout() {
    auto* root = new QVBoxLayout(this);
    root->setContentsMargins(0, 0, 0, 0);
    root->setSpacing(0);

    m_header = new Header(this);
    root->addWidget(m_header);
    root->addWidget(hairline(Qt::Horizontal));

    auto* main = new QHBoxLayout;
    main->setSpacing(0);
    m_sidebar = new Sidebar(*m_model, this);
    main->addWidget(m_sidebar);
    main->addWidget(hairline(Qt::Vertical));
    m_region = new CanvasRegion(*m_model, this);
    main->addWidget(m_region, 1);
    // The library slides in from the trailing edge inside a drawer whose width grows.
    m_libraryDrawer = new QWidget(this);
    m_libraryDrawer->setObjectName(QStringLiteral("libraryDrawer"));
    m_libraryDrawer->setFixedWidth(0);
    m_libraryDrawer->installEventFilter(this);
    main->addWidget(m_libraryDrawer);
    root->addLayout(main, 1);

    root->addWidget(hairline(Qt::Horizontal));
    auto* bottom = new QWidget(this);
    bottom->setObjectName(QStringLiteral("outputBar"));
    auto* bar = new QHBoxLayout(bottom);
    bar->setContentsMargins(22, 12, 22, 12);
    bar->setSpacing(22);
    auto* output = new QLabel(tr("Output"));
    output->setFont(style::uiFont(12));
    QPalette pal = output->palette();
    pal.setColor(QPalette::WindowText, style::Palette::secondaryText);
    output->setPalette(pal);
    bar->addWidget(output);
    m_sizes = new SizeSelector(
        outputSizes, [this] { return m_model->outputSize(); },
        [this](int size) { m_model->setOutputSize(size); });
    bar->addWidget(m_sizes);
    bar->addStretch(1);
    m_animationButton =
        new HeaderButton(QStringLiteral("arrow.triangle.2.circlepath"), tr("Export Animation…"));
    m_animationButton->setObjectName(QStringLiteral("exportAnimationButton"));
    m_animationButton->setLook({Qt::white, style::Palette::control, style::Palette::hairline});
    m_animationButton->setPadding(14, 7);
    m_animationButton->setFontPixelSize(13);
    m_animationButton->setToolTip(
        tr("A spinning planet or an intro, as MP4, animated WebP or GIF"));
    bar->addWidget(m_animationButton);
    root->addWidget(bottom);

    m_toast = new Toast(this);
    auto* fade = new QGraphicsOpacityEffect(m_toast);
    fade->setOpacity(0.0);
    m_toast->setGraphicsEffect(fade);
    m_toast->hide();

    connect(m_header->undoButton(), &QAbstractButton::clicked, m_model.get(), &PlanetModel::undo);
    connect(m_header->redoButton(), &QAbstractButton::clicked, m_model.get(), &PlanetModel::redo);
    connect(m_header->importButton(), &QAbstractButton::clicked, this, &ContentView::importPhoto);
    connect(m_header->exportButton(), &QAbstractButton::clicked, this, &ContentView::exportImage);
    connect(m_animationButton, &QAbstractButton::clicked, this, &ContentView::exportAnimation);
    connect(m_header->layersToggle(), &QAbstractButton::clicked, this, &ContentView::toggleLibrary);
    connect(m_region, &CanvasRegion::filesDropped, this, &ContentView::handleDrop);
    connect(m_region, &CanvasRegion::importRequested, this, &ContentView::importPhoto);

    // Exports and copies render beside the window; a long one shows a thin bar along
    // the top of the canvas and the busy pointer.
    m_output = new OutputJob(this);
    m_progress = new ProgressStrip([this] { return m_output->progress(); }, m_region);
    connect(m_output, &OutputJob::runningChanged, this, &ContentView::refreshEnabling);
    connect(m_output, &OutputJob::showingChanged, this, [this](bool showing) {
        // An animation has its own panel and leaves the pointer alone: the window is
        // meant to be used while it runs.
        if (m_jobPanel->isVisible())
            return;
        m_progress->setVisible(showing);
        m_progress->raise();
        if (showing)
            QApplication::setOverrideCursor(Qt::BusyCursor);
        else
            QApplication::restoreOverrideCursor();
    });
    // An animation takes seconds to minutes: its capsule shows frames and Cancel.
    m_jobPanel = new JobPanel(
        [this]() -> JobPanel::Counts {
            return {m_output->done(), m_output->total(), m_output->isCancelling()};
        },
        this);
    m_jobPanel->hide();
    connect(m_jobPanel, &JobPanel::cancelRequested, m_output, &OutputJob::cancel);
    // The region has moved its inspector by now; the toast makes room for it.
    connect(m_model.get(), &PlanetModel::selectedLayerIDChanged, this, [this] {
        if (m_toastShown)
            placeToast();
    });
}

void ContentView::buildActions() {
    // The window's shortcuts, spelled by the platform's standard keys.
    const auto action = [this](const QList<QKeySequence>& keys, auto slot) {
        auto* a = new QAction(this);
        a->setShortcuts(keys);
        a->setShortcutContext(Qt::WindowShortcut);
        connect(a, &QAction::triggered, this, slot);
        addAction(a);
        return a;
    };
    m_undo = action(QKeySequence::keyBindings(QKeySequence::Undo), [this] { m_model->undo(); });
    QList<QKeySequence> redo = QKeySequence::keyBindings(QKeySequence::Redo);
    for (const QKeySequence& extra :
         {QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Z), QKeySequence(Qt::CTRL | Qt::Key_Y)}) {
        if (!redo.contains(extra))
            redo.append(extra);
    }
    m_redo = action(redo, [this] { m_model->redo(); });
    m_copy = action(QKeySequence::keyBindings(QKeySequence::Copy), [this] { copyImage(); });
    m_paste = action(QKeySequence::keyBindings(QKeySequence::Paste), [this] { pasteImage(); });
    m_deleteLayer = action({QKeySequence(Qt::Key_Delete), QKeySequence(Qt::Key_Backspace)},
                           [this] { m_model->deleteSelectedLayer(); });
    m_deselect =
        action({QKeySequence(Qt::Key_Escape)}, [this] { m_model->setSelectedLayerID(QUuid()); });
    const auto followSelection = [this] {
        const bool selected = m_model->selectedLayer().has_value();
        m_deleteLayer->setEnabled(selected);
        m_deselect->setEnabled(selected);
    };
    connect(m_model.get(), &PlanetModel::layersChanged, this, followSelection);
    connect(m_model.get(), &PlanetModel::selectedLayerIDChanged, this, [this, followSelection] {
        followSelection();
        // A newly selected layer takes the arrow keys from a slider that had them; an
        // edit of the layer (its opacity slider, say) leaves the focus where it is.
        if (m_model->selectedLayer() && m_region->canvas()->isVisible())
            m_region->canvas()->setFocus(Qt::OtherFocusReason);
    });
    followSelection();
}

void ContentView::setHelpMenu(QMenu* menu) {
    // Looks come before Help, as a document's menus come before the application's.
    if (!m_lookMenu) {
        m_lookMenu = new QMenu(tr("Look"), this);
        m_lookMenu->setObjectName(QStringLiteral("lookMenu"));
        m_lookMenu->addAction(tr("Save Look…"), this, &ContentView::saveLook);
        m_lookMenu->addAction(tr("Apply Look…"), this, &ContentView::applyLook);
        m_header->addMenu(m_lookMenu);
    }
    m_header->addMenu(menu);
}

void ContentView::refreshEnabling() {
    const bool hasSource = m_model->hasSource();
    m_header->undoButton()->setEnabled(m_model->canUndo());
    m_header->redoButton()->setEnabled(m_model->canRedo());
    m_undo->setEnabled(m_model->canUndo());
    m_redo->setEnabled(m_model->canRedo());
    const bool free = !m_output->isRunning(); // one export or copy at a time
    m_header->exportButton()->setEnabled(hasSource && free);
    m_header->layersToggle()->setEnabled(hasSource);
    m_copy->setEnabled(hasSource && free);
    m_animationButton->setEnabled(hasSource && free);
}

// ---- intake --------------------------------------------------------------------

QString ContentView::defaultImageFile() {
    QStringList patterns;
    for (const QString& suffix : readableImageSuffixes())
        patterns << QStringLiteral("*.") + suffix << QStringLiteral("*.") + suffix.toUpper();
    return QFileDialog::getOpenFileName(this, tr("Import Photo"),
                                        m_lastFolder.isEmpty() ? QDir::homePath() : m_lastFolder,
                                        tr("Images (%1)").arg(patterns.join(QLatin1Char(' '))));
}

void ContentView::importPhoto() {
    const QString path = chooseImageFile();
    if (path.isEmpty())
        return;
    m_lastFolder = QFileInfo(path).absolutePath();
    openPicture(path);
}

void ContentView::openPicture(const QString& path) {
    // A file that does not decode leaves the planet as it was; one that opened with
    // damage says so, as the note for a failure does.
    QStringList warnings;
    if (const Status loaded = loadImageFile(*m_model, path, &warnings); !loaded)
        showToast(true, tr("Couldn't open %1").arg(loaded.message()));
    else if (!warnings.isEmpty())
        showToast(true, warnings.front());
}

void ContentView::pasteImage() {
    if (!clipboardHasImage())
        return;
    const auto paste = [this] {
        if (const Status pasted = pasteFromClipboard(*m_model); !pasted)
            showToast(true, tr("Couldn't paste: %1").arg(pasted.message()));
    };
    if (!m_model->hasSource()) {
        paste();
        return;
    }
    if (m_pasteConfirm)
        return;
    m_pasteConfirm = new QMessageBox(this);
    m_pasteConfirm->setObjectName(QStringLiteral("pasteConfirmation"));
    m_pasteConfirm->setWindowTitle(tr("Paste image?"));
    m_pasteConfirm->setText(tr("Paste image?"));
    m_pasteConfirm->setInformativeText(
        tr("Pasting a new image will discard your current planet. This can't be undone."));
    m_pasteConfirm->setIcon(QMessageBox::Warning);
    QPushButton* replace =
        m_pasteConfirm->addButton(tr("Replace current edit"), QMessageBox::DestructiveRole);
    replace->setObjectName(QStringLiteral("replace"));
    // Marked as the choice that loses work, in the colour of the other deletes.
    QPalette warning = replace->palette();
    warning.setColor(QPalette::ButtonText, style::Palette::destructive);
    replace->setPalette(warning);
    QPushButton* cancel = m_pasteConfirm->addButton(tr("Cancel"), QMessageBox::RejectRole);
    cancel->setObjectName(QStringLiteral("cancel"));
    m_pasteConfirm->setDefaultButton(cancel);
    m_pasteConfirm->setAttribute(Qt::WA_DeleteOnClose);
    connect(m_pasteConfirm, &QMessageBox::buttonClicked, this,
            [replace, paste](QAbstractButton* button) {
                if (button == replace)
                    paste();
            });
    connect(m_pasteConfirm, &QObject::destroyed, this, [this] { m_pasteConfirm = nullptr; });
    m_pasteConfirm->open();
}

void ContentView::handleDrop(const QList<QUrl>& urls) {
    if (urls.isEmpty() || !urls.front().isLocalFile())
        return;
    // Only the first file; it loads once the drop has finished.
    const QString path = urls.front().toLocalFile();
    QMetaObject::invokeMethod(
        this, [this, path] { openPicture(path); }, Qt::QueuedConnection);
}

// ---- looks ---------------------------------------------------------------------

void ContentView::saveLook() {
    const QString name =
        (m_model->sourceName().isEmpty() ? QStringLiteral("Look") : m_model->sourceName()) +
        QLatin1Char('.') + QLatin1String(lookFileSuffix);
    QString path = chooseLookToSave(name);
    if (path.isEmpty())
        return;
    if (QFileInfo(path).suffix().isEmpty())
        path += QLatin1Char('.') + QLatin1String(lookFileSuffix);
    m_lastFolder = QFileInfo(path).absolutePath();
    if (const Status saved = saveLookFile(m_model->look(), path); !saved)
        showToast(true, tr("Couldn't save the look: %1").arg(saved.message()));
    else
        showToast(false, tr("Look saved"));
}

void ContentView::applyLook() {
    const QString path = chooseLookToApply();
    if (path.isEmpty())
        return;
    m_lastFolder = QFileInfo(path).absolutePath();
    const Result<LoadedLook> loaded = loadLookFile(path, &m_model->library());
    if (!loaded) {
        showToast(true, tr("Couldn't apply %1").arg(loaded.message()));
        return;
    }
    m_model->applyLook(loaded->look);
    if (!loaded->notes.isEmpty())
        showToast(true, loaded->notes.front());
}

// ---- output --------------------------------------------------------------------

QString ContentView::defaultExportFile(const QString& suggestedName) {
    const QString folder = m_lastFolder.isEmpty() ? QDir::homePath() : m_lastFolder;
    // PNG first, as the default; a name typed without a suffix takes the chosen one.
    const QStringList filters{tr("PNG image (*.png)"), tr("JPEG image (*.jpg *.jpeg)"),
                              tr("WebP image (*.webp)"), tr("TIFF image, 16 bits (*.tif *.tiff)")};
    static const QStringList suffixes{QStringLiteral("png"), QStringLiteral("jpg"),
                                      QStringLiteral("webp"), QStringLiteral("tif")};
    QString chosen = filters.front();
    QString path =
        QFileDialog::getSaveFileName(this, tr("Export"), QDir(folder).filePath(suggestedName),
                                     filters.join(QStringLiteral(";;")), &chosen);
    if (!path.isEmpty() && !render::outputFormatForSuffix(QFileInfo(path).suffix()))
        path += QLatin1Char('.') + suffixes.value(filters.indexOf(chosen), suffixes.front());
    return path;
}

void ContentView::exportImage() {
    if (!m_model->hasSource() || m_output->isRunning())
        return;
    QString path = chooseExportFile(defaultExportFileName(*m_model));
    if (path.isEmpty())
        return;
    // The suffix chooses the format; anything else is a PNG, as the default.
    std::optional<render::OutputFormat> format =
        render::outputFormatForSuffix(QFileInfo(path).suffix());
    if (!format) {
        path += QStringLiteral(".png");
        format = render::OutputFormat::png;
    }
    m_lastFolder = QFileInfo(path).absolutePath();
    // The planet as it is now; the window stays free while it renders and writes.
    const Result<OutputSnapshot> snapshot = snapshotOutput(*m_model);
    if (!snapshot) {
        showToast(true, tr("Couldn't export %1: %2").arg(path, snapshot.message()));
        return;
    }
    m_output->start(
        [planet = *snapshot, path, format](render::RenderProgress& progress) {
            // Written whole or not at all; an existing file survives a failure.
            return planet.write(path, {*format}, &progress);
        },
        [this](const Status& written) {
            if (!written)
                showToast(true, tr("Couldn't export %1").arg(written.message()));
        });
}

void ContentView::copyImage() {
    if (!m_model->hasSource() || m_output->isRunning())
        return;
    const Result<OutputSnapshot> snapshot = snapshotOutput(*m_model);
    if (!snapshot) {
        showToast(true, tr("Couldn't copy: %1").arg(snapshot.message()));
        return;
    }
    auto pixels = std::make_shared<QImage>();
    m_output->start(
        [planet = *snapshot, pixels](render::RenderProgress& progress) -> Status {
            Result<QImage> rendered = planet.render(&progress);
            if (!rendered)
                return rendered.failure();
            *pixels = std::move(rendered).value();
            return {};
        },
        [this, pixels](const Status& rendered) {
            // The clipboard belongs to the main thread.
            const Status copied = rendered ? copyImageToClipboard(*pixels) : rendered;
            if (copied)
                showToast(false, tr("Copied to clipboard"));
            else
                showToast(true, tr("Couldn't copy: %1").arg(copied.message()));
        });
}

void ContentView::exportAnimation() {
    if (!m_model->hasSource() || m_output->isRunning())
        return;
    const std::optional<AnimationChoice> choice = chooseAnimation(m_animationChoice);
    if (!choice)
        return;
    m_animationChoice = *choice;
    QString name = defaultExportFileName(*m_model);
    name = QFileInfo(name).completeBaseName() + QLatin1Char('.') + render::suffixOf(choice->format);
    const QString path = chooseAnimationFile(name, choice->format);
    if (path.isEmpty())
        return;
    m_lastFolder = QFileInfo(path).absolutePath();
    // The frames are rendered from this look and this picture, whatever happens to the
    // document meanwhile; the layers' artwork is placed now, on the library's thread.
    const AnimationJob job =
        makeAnimationJob(m_model->renderer(), m_model->sourceImage(), m_model->look(),
                         m_model->library(), choice->settings);
    m_jobPanel->setTitle(tr("Exporting %1").arg(QFileInfo(path).fileName()));
    const bool started = m_output->start(
        [job, path](render::RenderProgress& progress) {
            return writeAnimation(job, path, &progress);
        },
        [this, path](const Status& written) {
            m_jobPanel->hide();
            if (written)
                showToast(false, tr("Exported %1").arg(QFileInfo(path).fileName()));
            else if (m_output->isCancelling())
                showToast(false, tr("Animation cancelled, nothing was written"));
            else
                showToast(true, tr("Couldn't export %1").arg(written.message()));
        });
    if (started) {
        placeJobPanel();
        m_jobPanel->show();
        m_jobPanel->raise();
    }
}

void ContentView::placeJobPanel() {
    const QSize size = m_jobPanel->sizeHint();
    const QRect canvas = m_region->geometry();
    m_jobPanel->setGeometry(canvas.center().x() - size.width() / 2,
                            canvas.top() + 16 - FloatingCapsule::shadowMargins().top(),
                            size.width(), size.height());
}

void ContentView::showToast(bool failed, const QString& text) {
    m_toast->setMessage(failed ? Toast::Kind::failed : Toast::Kind::done, text);
    placeToast();
    // Only the latest message hides the toast.
    const int id = ++m_toastID;
    setToastShown(true);
    QTimer::singleShot(failed ? failureToastMs : toastMs, this, [this, id] {
        if (id == m_toastID)
            setToastShown(false);
    });
}

void ContentView::placeToast() {
    const QSize size = m_toast->sizeHint();
    // A confirmation floats low over the canvas; a failure stays longer, so it sits at
    // the canvas's top, clear of the layer inspector's bar.
    if (m_toast->kind() == Toast::Kind::failed) {
        const QRect canvas = m_region->geometry();
        m_toast->setGeometry(canvas.center().x() - size.width() / 2,
                             canvas.top() + 16 - FloatingCapsule::shadowMargins().top(),
                             size.width(), size.height());
        return;
    }
    const QMargins shadow = FloatingCapsule::shadowMargins();
    int bottom = height() - 64 + shadow.bottom();
    if (m_region->isInspectorShown()) {
        // Never over the inspector's controls: just above its capsule instead.
        const QRect inspector =
            m_region->inspectorRestGeometry().translated(m_region->mapTo(this, QPoint()));
        bottom = std::min(bottom, inspector.top() + shadow.top() - 10 + shadow.bottom());
    }
    m_toast->setGeometry((width() - size.width()) / 2, bottom - size.height(), size.width(),
                         size.height());
}

void ContentView::setToastShown(bool shown) {
    if (shown == m_toastShown)
        return;
    m_toastShown = shown;
    placeToast();
    const QPoint rest = m_toast->pos();
    const QPoint below = rest + QPoint(0, 40);
    auto* fade = static_cast<QGraphicsOpacityEffect*>(m_toast->graphicsEffect());
    auto* group = new QParallelAnimationGroup(this);
    auto* move = new QPropertyAnimation(m_toast, "pos", group);
    auto* opacity = new QPropertyAnimation(fade, "opacity", group);
    // In with a little spring, out with an ease-out.
    move->setDuration(shown ? 350 : 300);
    move->setEasingCurve(shown ? QEasingCurve(QEasingCurve::OutBack)
                               : QEasingCurve(QEasingCurve::OutCubic));
    move->setStartValue(shown ? below : rest);
    move->setEndValue(shown ? rest : below);
    opacity->setDuration(shown ? 250 : 300);
    opacity->setStartValue(fade->opacity());
    opacity->setEndValue(shown ? 1.0 : 0.0);
    group->addAnimation(move);
    group->addAnimation(opacity);
    connect(group, &QAbstractAnimation::finished, this, [this, shown] {
        if (!shown && !m_toastShown)
            m_toast->hide();
    });
    if (shown) {
        m_toast->move(below);
        m_toast->show();
        m_toast->raise();
    }
    group->start(QAbstractAnimation::DeleteWhenStopped);
}

// ---- library panel -------------------------------------------------------------

void ContentView::toggleLibrary() {
    if (!m_model->hasSource())
        return;
    m_showLibrary = !m_showLibrary;
    m_header->layersToggle()->setChecked(m_showLibrary);
    if (m_showLibrary && !m_library) {
        // A new panel each time it appears: it starts again at All.
        auto* divider = hairline(Qt::Vertical);
        divider->setParent(m_libraryDrawer);
        divider->setObjectName(QStringLiteral("libraryDivider"));
        m_library = new LayerLibraryPanel(*m_model, m_libraryDrawer);
        m_library->onNotice = [this](bool failed, const QString& text) { showToast(failed, text); };
        divider->setGeometry(0, 0, 1, height());
        divider->show();
        m_library->show();
    }
    if (!m_libraryAnimation) {
        m_libraryAnimation = new QVariantAnimation(this);
        m_libraryAnimation->setDuration(libraryAnimationMs);
        m_libraryAnimation->setEasingCurve(QEasingCurve::InOutQuad);
        connect(m_libraryAnimation, &QVariantAnimation::valueChanged, this,
                [this](const QVariant& v) { m_libraryDrawer->setFixedWidth(v.toInt()); });
        connect(m_libraryAnimation, &QVariantAnimation::finished, this, [this] {
            if (!m_showLibrary && m_library) {
                qDeleteAll(
                    m_libraryDrawer->findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly));
                m_library = nullptr;
            }
        });
    }
    // From wherever it is now, so a quick second toggle turns it round.
    m_libraryAnimation->stop();
    m_libraryAnimation->setStartValue(m_libraryDrawer->width());
    m_libraryAnimation->setEndValue(m_showLibrary ? libraryDrawerWidth : 0);
    m_libraryAnimation->start();
}

void ContentView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    placeToast();
    if (m_jobPanel->isVisible())
        placeJobPanel();
}

bool ContentView::eventFilter(QObject* watched, QEvent* event) {
    // The drawer's content is anchored to its leading edge and clipped at the window's
    // trailing edge, so a growing drawer moves the panel in from that side.
    if (watched == m_libraryDrawer && event->type() == QEvent::Resize && m_library) {
        const int h = m_libraryDrawer->height();
        m_library->setGeometry(1, 0, LayerLibraryPanel::panelWidth, h);
        if (auto* divider = m_libraryDrawer->findChild<QWidget*>(QStringLiteral("libraryDivider")))
            divider->setGeometry(0, 0, 1, h);
    }
    return QWidget::eventFilter(watched, event);
}

} // namespace velmora::ui
