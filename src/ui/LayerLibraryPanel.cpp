#include "ui/LayerLibraryPanel.h"

#include "model/PlanetModel.h"
#include "model/UserArtwork.h"
#include "style/FocusRing.h"
#include "style/Palette.h"
#include "style/Typography.h"
#include "ui/Checkerboard.h"
#include "ui/FlowLayout.h"
#include "ui/HeaderButton.h"
#include "ui/SectionLabel.h"
#include "ui/Thumbnail.h"

#include <QAbstractButton>
#include <QApplication>
#include <QContextMenuEvent>
#include <QDir>
#include <QDrag>
#include <QDragEnterEvent>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QHideEvent>
#include <QLabel>
#include <QMenu>
#include <QMessageBox>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>

namespace velmora::ui {

namespace {

const char* const emptyLibraryText = QT_TRANSLATE_NOOP(
    "LayerLibraryPanel",
    "No layers found. Add a `Layers/<Category>/*.png` folder reference to the app bundle.");
const char* const hintText =
    QT_TRANSLATE_NOOP("LayerLibraryPanel", "Click to add at the centre, or drag onto the planet.");

/// The shipped categories and the user's default one, by the names their folders
/// have; a category of the user's own shows its folder's name.
[[maybe_unused]] const char* const categoryTitles[] = {
    QT_TRANSLATE_NOOP("LayerCategory", "Glows"),
    QT_TRANSLATE_NOOP("LayerCategory", "Lens Flares"),
    QT_TRANSLATE_NOOP("LayerCategory", "Overlays"),
    QT_TRANSLATE_NOOP("LayerCategory", "Stickers"),
    QT_TRANSLATE_NOOP("LayerCategory", "My Artwork"),
};

QString categoryTitle(const QString& category) {
    return QCoreApplication::translate("LayerCategory", category.toUtf8().constData());
}

constexpr int minCell = 62;
constexpr int maxCell = 80;
constexpr int gridSpacing = 8;
constexpr int gridPaddingY = 2;
constexpr double cellRadius = 8;
constexpr double imagePadding = 5;
constexpr double checkerSquare = 8;

/// Rich text for a line with `code` spans, as the platform's Markdown shows them:
/// the code in a monospaced face, the backticks gone. An unpaired backtick stays.
QString richTextWithCode(const QString& text) {
    const QStringList parts = text.split(QLatin1Char('`'));
    QString html;
    for (qsizetype i = 0; i < parts.size(); ++i) {
        const QString escaped = parts[i].toHtmlEscaped();
        const bool paired = i % 2 == 1 && i + 1 < parts.size();
        if (paired)
            html += QStringLiteral("<code>") + escaped + QStringLiteral("</code>");
        else
            html += (i % 2 == 1 ? QStringLiteral("`") : QString()) + escaped;
    }
    return html;
}

QLabel* smallNote(const QString& text, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    label->setFont(style::uiFont(11));
    label->setWordWrap(true);
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, style::Palette::tertiaryText);
    label->setPalette(palette);
    return label;
}

} // namespace

// ---------------------------------------------------------------------------------

/// A category filter button in a capsule. Its checked state shows the selection and
/// is set by the panel alone: two categories of one name are selected together.
class LayerLibraryPanel::Chip final : public QAbstractButton {
public:
    Chip(const QString& title, QString value, QWidget* parent)
        : QAbstractButton(parent)
        , m_value(std::move(value)) {
        setText(title);
        setCheckable(true);
        setFont(style::uiFont(11, QFont::DemiBold));
        setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
        setFocusPolicy(Qt::TabFocus);
        setObjectName(QStringLiteral("categoryChip"));
    }

    const QString& value() const { return m_value; }

    QSize sizeHint() const override {
        const QFontMetrics metrics(font());
        return {metrics.horizontalAdvance(text()) + 20, metrics.height() + 12};
    }

protected:
    void nextCheckState() override {}

    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        if (isDown())
            painter.setOpacity(0.75);
        const QRectF bounds(rect());
        const double r = bounds.height() / 2;
        painter.setPen(Qt::NoPen);
        painter.setBrush(isChecked() ? style::Palette::accent : style::Palette::control);
        painter.drawRoundedRect(bounds, r, r);
        painter.setPen(isChecked() ? QColor(Qt::black)
                                   : style::Palette::withAlpha(Qt::white, 0.85));
        painter.setFont(font());
        painter.drawText(rect(), Qt::AlignCenter, text());
        style::paintFocusRing(painter, *this, bounds.adjusted(0.75, 0.75, -0.75, -0.75), r - 0.75,
                              isChecked() ? QColor(Qt::white) : style::Palette::accent);
    }

private:
    QString m_value;
};

/// One thumbnail: the artwork over a checkerboard in a rounded square. The artwork is
/// decoded the first time the cell is painted, and kept scaled to the cell so that
/// painting never resamples the full image.
class LayerLibraryPanel::Cell final : public QWidget {
public:
    Cell(PlanetModel& model, LayerAsset asset, QWidget* parent)
        : QWidget(parent)
        , m_model(model)
        , m_asset(std::move(asset)) {
        setObjectName(QStringLiteral("layerThumb"));
        setProperty("assetID", m_asset.id);
        setToolTip(m_asset.name);
        setAccessibleName(m_asset.name);
    }

    const LayerAsset& asset() const { return m_asset; }
    bool isLoaded() const { return m_attempted; }

    /// Set for the user's own artwork, which has a menu (global position).
    std::function<void(const LayerAsset&, QPoint)> onContextMenu;

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const QRectF bounds(rect());
        QPainterPath shape;
        shape.addRoundedRect(bounds, cellRadius, cellRadius);
        painter.setClipPath(shape);
        paintCheckerboard(painter, bounds, checkerSquare);

        const QRectF target = imageRect();
        if (!target.isEmpty()) {
            prepareThumbnail(target.size());
            painter.drawPixmap(target.topLeft(), m_thumbnail);
        }
        if (m_pressed)
            painter.fillRect(bounds, style::Palette::withAlpha(Qt::black, 0.2));

        painter.setClipping(false);
        painter.setPen(QPen(style::Palette::hairline, 1));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(bounds.adjusted(0.5, 0.5, -0.5, -0.5), cellRadius - 0.5,
                                cellRadius - 0.5);
    }

    void contextMenuEvent(QContextMenuEvent* event) override {
        if (onContextMenu)
            onContextMenu(m_asset, event->globalPos());
        else
            event->ignore();
    }

    void mousePressEvent(QMouseEvent* event) override {
        if (event->button() != Qt::LeftButton) {
            event->ignore();
            return;
        }
        m_pressed = true;
        m_pressPosition = event->position().toPoint();
        update();
    }

    void mouseMoveEvent(QMouseEvent* event) override {
        if (!m_pressed)
            return;
        const QPoint travel = event->position().toPoint() - m_pressPosition;
        if (travel.manhattanLength() >= QApplication::startDragDistance())
            startDrag();
    }

    void mouseReleaseEvent(QMouseEvent* event) override {
        if (!m_pressed || event->button() != Qt::LeftButton)
            return;
        m_pressed = false;
        update();
        if (rect().contains(event->position().toPoint()))
            m_model.addLayer(m_asset.id, {0.5, 0.5});
    }

private:
    /// Where the artwork goes: fitted inside the padded cell, keeping its aspect.
    /// Decodes it the first time; empty when it does not decode.
    QRectF imageRect() {
        if (!m_attempted) {
            m_attempted = true;
            m_sourceSize = m_model.library().displayImage(m_asset.id).size();
        }
        if (m_sourceSize.isEmpty())
            return {};
        const QRectF box =
            QRectF(rect()).adjusted(imagePadding, imagePadding, -imagePadding, -imagePadding);
        if (box.isEmpty())
            return {};
        const QSizeF fitted = QSizeF(m_sourceSize).scaled(box.size(), Qt::KeepAspectRatio);
        return {box.center() - QPointF(fitted.width() / 2, fitted.height() / 2), fitted};
    }

    void prepareThumbnail(QSizeF logical) {
        const qreal ratio = devicePixelRatioF();
        const QSize pixels(std::max(1, static_cast<int>(std::lround(logical.width() * ratio))),
                           std::max(1, static_cast<int>(std::lround(logical.height() * ratio))));
        if (!m_thumbnail.isNull() && m_thumbnail.size() == pixels)
            return;
        // From the library's smallest halving still as wide: a quick, alias-free scale.
        const QImage image = m_model.library().displayImage(m_asset.id, pixels.width());
        m_thumbnail = QPixmap::fromImage(legibleThumbnail(
            image.scaled(pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)));
        m_thumbnail.setDevicePixelRatio(ratio);
    }

    void startDrag() {
        m_pressed = false;
        update();
        auto* mime = new QMimeData;
        mime->setText(dragPayload(m_asset.id));
        auto* drag = new QDrag(this);
        drag->setMimeData(mime);
        if (!m_thumbnail.isNull()) {
            drag->setPixmap(m_thumbnail);
            const QSizeF logical = m_thumbnail.deviceIndependentSize();
            drag->setHotSpot(QPoint(static_cast<int>(logical.width() / 2),
                                    static_cast<int>(logical.height() / 2)));
        }
        drag->exec(Qt::CopyAction);
    }

    PlanetModel& m_model;
    LayerAsset m_asset;
    QSize m_sourceSize;
    QPixmap m_thumbnail;
    bool m_attempted = false;
    bool m_pressed = false;
    QPoint m_pressPosition;
};

/// The thumbnails in as many columns of 62 to 80 points as fit, 8 apart, centred.
class LayerLibraryPanel::Grid final : public QWidget {
public:
    explicit Grid(QWidget* parent)
        : QWidget(parent) {
        QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Preferred);
        policy.setHeightForWidth(true);
        setSizePolicy(policy);
    }

    void addCell(Cell* cell) { m_cells.append(cell); }
    const QList<Cell*>& cells() const { return m_cells; }

    void filter(const QString& category) {
        for (Cell* cell : m_cells)
            cell->setVisible(category.isEmpty() || cell->asset().category == category);
        updateGeometry();
        arrange();
    }

    bool hasHeightForWidth() const override { return true; }

    int heightForWidth(int width) const override {
        const Metrics m = metrics(width);
        const int rows = static_cast<int>((shownCount() + m.columns - 1) / m.columns);
        if (rows == 0)
            return 2 * gridPaddingY;
        return 2 * gridPaddingY + static_cast<int>(std::ceil(rows * m.side)) +
               (rows - 1) * gridSpacing;
    }

    QSize sizeHint() const override {
        const int width = LayerLibraryPanel::panelWidth - 28;
        return {width, heightForWidth(width)};
    }

protected:
    void resizeEvent(QResizeEvent*) override { arrange(); }

private:
    struct Metrics {
        int columns = 1;
        double side = minCell;
        double left = 0;
    };

    static Metrics metrics(int width) {
        Metrics m;
        m.columns = std::max(1, (width + gridSpacing) / (minCell + gridSpacing));
        const double available =
            static_cast<double>(width - gridSpacing * (m.columns - 1)) / m.columns;
        m.side = std::max(1.0, std::min<double>(maxCell, available));
        const double used = m.columns * m.side + gridSpacing * (m.columns - 1);
        m.left = std::max(0.0, (width - used) / 2);
        return m;
    }

    qsizetype shownCount() const {
        return std::count_if(m_cells.begin(), m_cells.end(),
                             [](const Cell* c) { return !c->isHidden(); });
    }

    void arrange() {
        const Metrics m = metrics(width());
        const int side = static_cast<int>(std::floor(m.side));
        int index = 0;
        for (Cell* cell : m_cells) {
            if (cell->isHidden())
                continue;
            const int column = index % m.columns;
            const int row = index / m.columns;
            const double x = m.left + column * (m.side + gridSpacing);
            const double y = gridPaddingY + row * (m.side + gridSpacing);
            cell->setGeometry(static_cast<int>(std::lround(x)), static_cast<int>(std::lround(y)),
                              side, side);
            ++index;
        }
    }

    QList<Cell*> m_cells;
};

// ---------------------------------------------------------------------------------

LayerLibraryPanel::LayerLibraryPanel(PlanetModel& model, QWidget* parent)
    : QWidget(parent)
    , m_model(model) {
    setFixedWidth(panelWidth);
    setAcceptDrops(true);
    chooseArtworkFiles = [this] { return defaultArtworkFiles(); };
    confirmDelete = [this](const LayerAsset& asset) { return defaultConfirmDelete(asset); };
    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    connect(&m_model, &PlanetModel::libraryChanged, this, &LayerLibraryPanel::rebuild);
    rebuild();
}

void LayerLibraryPanel::rebuild() {
    // The old contents may be mid-event (a menu of theirs just closed): they leave the
    // tree now and go when the event loop next runs.
    if (m_body) {
        m_body->hide();
        m_body->setParent(nullptr);
        m_body->deleteLater();
    }
    m_chips.clear();
    m_grid = nullptr;
    m_gridScroller = nullptr;
    m_body = new QWidget(this);
    layout()->addWidget(m_body);
    const LayerLibrary& library = m_model.library();

    auto* stack = new QVBoxLayout(m_body);
    stack->setContentsMargins(14, 14, 14, 14);
    stack->setSpacing(12);

    auto* header = new QHBoxLayout;
    header->setSpacing(0);
    header->addWidget(new SectionLabel(tr("Layers"), m_body), 0, Qt::AlignVCenter);
    header->addStretch(1);
    auto* count = new QLabel(QString::number(library.assets().size()), m_body);
    count->setObjectName(QStringLiteral("count"));
    count->setFont(style::uiFont(11, QFont::Medium));
    QPalette countPalette = count->palette();
    countPalette.setColor(QPalette::WindowText, style::Palette::tertiaryText);
    count->setPalette(countPalette);
    header->addWidget(count, 0, Qt::AlignVCenter);
    stack->addLayout(header);

    auto* add = new HeaderButton(QStringLiteral("plus"), tr("Add Artwork…"), m_body);
    add->setObjectName(QStringLiteral("addArtwork"));
    add->setToolTip(tr("Copy image files into your library, into the chosen "
                       "category or My Artwork (or drop them here)"));
    add->setLook({Qt::white, style::Palette::control, style::Palette::hairline, 9.0});
    add->setPadding(12, 7);
    add->setFontPixelSize(12);
    connect(add, &QAbstractButton::clicked, this, [this] {
        const QStringList files = chooseArtworkFiles();
        if (!files.isEmpty())
            addArtwork(files);
    });

    if (library.assets().isEmpty()) {
        auto* empty = smallNote(richTextWithCode(tr(emptyLibraryText)), m_body);
        empty->setObjectName(QStringLiteral("emptyText"));
        empty->setTextFormat(Qt::RichText);
        stack->addWidget(empty);
        stack->addWidget(add, 0, Qt::AlignLeft);
        stack->addStretch(1);
        m_category.clear();
        return;
    }

    // Every category in view at any width: the chips wrap onto further rows.
    auto* chipRow = new QWidget(m_body);
    chipRow->setObjectName(QStringLiteral("chips"));
    auto* chipLayout = new FlowLayout(chipRow, 6);
    m_chips.append(new Chip(tr("All"), QString(), chipRow));
    for (const QString& name : library.categories())
        m_chips.append(new Chip(categoryTitle(name), name, chipRow));
    for (Chip* chip : m_chips) {
        chipLayout->addWidget(chip);
        connect(chip, &QAbstractButton::clicked, this,
                [this, chip] { setCategory(chip->value()); });
    }
    stack->addWidget(chipRow);

    m_gridScroller = new QScrollArea(m_body);
    m_gridScroller->setObjectName(QStringLiteral("grid"));
    m_gridScroller->setFrameShape(QFrame::NoFrame);
    m_gridScroller->setWidgetResizable(true);
    m_gridScroller->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_gridScroller->setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    // A thin overlay-style bar: a full platform bar would cost the grid a column.
    m_gridScroller->verticalScrollBar()->setStyleSheet(
        QStringLiteral("QScrollBar:vertical { background: transparent; width: 6px; margin: 0; }"
                       "QScrollBar::handle:vertical { background: rgba(255, 255, 255, 60);"
                       " border-radius: 3px; min-height: 24px; }"
                       "QScrollBar::add-line:vertical, QScrollBar::sub-line:vertical { height: 0; }"
                       "QScrollBar::add-page:vertical, QScrollBar::sub-page:vertical {"
                       " background: transparent; }"));
    m_gridScroller->viewport()->setAutoFillBackground(false);
    m_grid = new Grid(m_gridScroller);
    for (const LayerAsset& asset : library.assets()) {
        auto* cell = new Cell(m_model, asset, m_grid);
        if (asset.isUser)
            cell->onContextMenu = [this](const LayerAsset& a, QPoint at) { showCellMenu(a, at); };
        m_grid->addCell(cell);
    }
    m_gridScroller->setWidget(m_grid);
    m_grid->setAutoFillBackground(false);
    stack->addWidget(m_gridScroller, 1);

    auto* hint = smallNote(tr(hintText), m_body);
    hint->setObjectName(QStringLiteral("hint"));
    hint->setTextFormat(Qt::PlainText);
    stack->addWidget(hint);
    stack->addWidget(add, 0, Qt::AlignLeft);

    setCategory(library.categories().contains(m_category) ? m_category : QString());
    if (isVisible())
        m_body->show(); // a rebuilt panel shows at once
}

LayerLibraryPanel::~LayerLibraryPanel() = default;

void LayerLibraryPanel::setCategory(const QString& category) {
    m_category = category;
    updateChips();
    if (m_grid)
        m_grid->filter(m_category);
}

void LayerLibraryPanel::updateChips() {
    for (Chip* chip : m_chips)
        chip->setChecked(chip->value() == m_category);
}

QStringList LayerLibraryPanel::visibleAssetIDs() const {
    const LayerLibrary& library = m_model.library();
    const QList<LayerAsset> assets =
        m_category.isEmpty() ? library.assets() : library.assets(m_category);
    QStringList ids;
    ids.reserve(assets.size());
    for (const LayerAsset& asset : assets)
        ids.append(asset.id);
    return ids;
}

QStringList LayerLibraryPanel::loadedThumbnailIDs() const {
    QStringList ids;
    if (m_grid) {
        for (const Cell* cell : m_grid->cells()) {
            if (cell->isLoaded())
                ids.append(cell->asset().id);
        }
    }
    return ids;
}

QString LayerLibraryPanel::dragPayload(const QString& assetID) {
    return QStringLiteral("velmora-layer:") + assetID;
}

void LayerLibraryPanel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), style::Palette::panel);
}

void LayerLibraryPanel::hideEvent(QHideEvent* event) {
    // Showing the panel again starts afresh at "All", as a new panel would; a
    // minimised window is not a hidden panel.
    if (!event->spontaneous()) {
        setCategory(QString());
        if (m_gridScroller)
            m_gridScroller->verticalScrollBar()->setValue(0);
    }
    QWidget::hideEvent(event);
}

// ---- the user's own artwork -----------------------------------------------------

QStringList LayerLibraryPanel::defaultArtworkFiles() {
    QStringList patterns;
    for (const QString& suffix : artworkImportSuffixes())
        patterns << QStringLiteral("*.") + suffix << QStringLiteral("*.") + suffix.toUpper();
    return QFileDialog::getOpenFileNames(this, tr("Add Artwork"), QDir::homePath(),
                                         tr("Images (%1)").arg(patterns.join(QLatin1Char(' '))));
}

bool LayerLibraryPanel::defaultConfirmDelete(const LayerAsset& asset) {
    QMessageBox box(QMessageBox::Warning, tr("Remove from Library"),
                    tr("Delete “%1” for good?").arg(asset.name), QMessageBox::NoButton, this);
    box.setInformativeText(tr("There is no trash to move it to, so it cannot be brought back."));
    QPushButton* remove = box.addButton(tr("Delete"), QMessageBox::DestructiveRole);
    QPalette warning = remove->palette();
    warning.setColor(QPalette::ButtonText, style::Palette::destructive);
    remove->setPalette(warning);
    box.setDefaultButton(box.addButton(QMessageBox::Cancel));
    box.exec();
    return box.clickedButton() == remove;
}

void LayerLibraryPanel::notify(bool failed, const QString& text) {
    if (onNotice)
        onNotice(failed, text);
}

void LayerLibraryPanel::addArtwork(const QStringList& files) {
    // Into the category on show, so picking a chip first picks where art goes.
    const QString category = m_category.isEmpty() ? defaultArtworkCategory.toString() : m_category;
    const ArtworkImport imported = importArtwork(files, category, m_model.library().userFolder());
    if (!imported.added.isEmpty()) {
        m_category = category;
        m_model.rescanUserArtwork();
    }
    if (!imported.refused.isEmpty())
        notify(true, tr("Couldn't add %1").arg(imported.refused.join(QStringLiteral("; "))));
    else if (!imported.added.isEmpty())
        notify(false,
               imported.added.size() == 1
                   ? tr("Added to %1").arg(categoryTitle(category))
                   : tr("Added %1 to %2").arg(imported.added.size()).arg(categoryTitle(category)));
}

void LayerLibraryPanel::removeFromLibrary(const QString& assetID) {
    const LayerAsset* found = m_model.library().asset(assetID);
    if (!found || !found->isUser)
        return;
    const LayerAsset asset = *found;
    switch (trashArtwork(asset)) {
    case ArtworkRemoval::trashed:
        break;
    case ArtworkRemoval::noTrash:
        if (!confirmDelete(asset))
            return;
        if (const Status deleted = deleteArtwork(asset); !deleted) {
            notify(true, tr("Couldn't remove %1").arg(deleted.message()));
            return;
        }
        break;
    case ArtworkRemoval::failed:
        notify(true, tr("Couldn't remove %1").arg(asset.filePath()));
        return;
    }
    m_model.rescanUserArtwork();
}

void LayerLibraryPanel::showCellMenu(const LayerAsset& asset, QPoint globalPos) {
    auto* menu = new QMenu(this);
    menu->setObjectName(QStringLiteral("artworkMenu"));
    menu->setAttribute(Qt::WA_DeleteOnClose);
    QAction* remove = menu->addAction(tr("Remove from Library"));
    const QString id = asset.id;
    // Once the menu has gone: removing rebuilds the grid the menu was opened from.
    connect(remove, &QAction::triggered, this, [this, id] {
        QMetaObject::invokeMethod(
            this, [this, id] { removeFromLibrary(id); }, Qt::QueuedConnection);
    });
    menu->popup(globalPos);
}

namespace {

QStringList localFiles(const QMimeData* data) {
    QStringList files;
    if (data && data->hasUrls()) {
        for (const QUrl& url : data->urls()) {
            if (url.isLocalFile())
                files.append(url.toLocalFile());
        }
    }
    return files;
}

} // namespace

void LayerLibraryPanel::dragEnterEvent(QDragEnterEvent* event) {
    if (!localFiles(event->mimeData()).isEmpty())
        event->acceptProposedAction();
    else
        event->ignore();
}

void LayerLibraryPanel::dropEvent(QDropEvent* event) {
    const QStringList files = localFiles(event->mimeData());
    if (files.isEmpty()) {
        event->ignore();
        return;
    }
    event->acceptProposedAction();
    // After the drop has finished: decoding may take a moment.
    QMetaObject::invokeMethod(
        this, [this, files] { addArtwork(files); }, Qt::QueuedConnection);
}

} // namespace velmora::ui
