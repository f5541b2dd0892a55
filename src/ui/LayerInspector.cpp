#include "ui/LayerInspector.h"

#include "model/PlanetModel.h"
#include "style/FocusRing.h"
#include "style/Palette.h"
#include "style/Symbols.h"
#include "style/Typography.h"
#include "ui/SymbolView.h"
#include "ui/TintedSlider.h"

#include <QAbstractButton>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QPainter>
#include <QPainterPath>
#include <QSignalBlocker>

namespace velmora::ui {

namespace {

constexpr int buttonSide = 26;
constexpr int spacing = 14;
constexpr int compactSpacing = 8;
constexpr int opacityWidth = 110;
constexpr int compactOpacityWidth = 72;
/// The least of a blend mode's name shown when a long one is cut short.
constexpr int minBlendTextWidth = 44;
constexpr double buttonRadius = 7;

void setForeground(QWidget* widget, const QColor& colour) {
    QPalette palette = widget->palette();
    palette.setColor(QPalette::ButtonText, colour);
    palette.setColor(QPalette::WindowText, colour);
    widget->setPalette(palette);
}

/// The raised rounded square every inspector button sits on, dimmed while pressed.
void paintButtonBase(QPainter& painter, const QAbstractButton& button) {
    painter.setRenderHint(QPainter::Antialiasing);
    if (!button.isEnabled())
        painter.setOpacity(0.4);
    else if (button.isDown())
        painter.setOpacity(0.7);
    painter.setPen(Qt::NoPen);
    painter.setBrush(style::Palette::controlRaised);
    painter.drawRoundedRect(QRectF(button.rect()), buttonRadius, buttonRadius);
}

void paintFocus(QPainter& painter, const QAbstractButton& button) {
    painter.setOpacity(1.0);
    style::paintFocusRing(painter, button, buttonRadius,
                          style::Palette::withAlpha(style::Palette::accent, 0.8));
}

} // namespace

/// A 26-point square showing one symbol in its foreground colour.
class LayerInspector::IconButton final : public QAbstractButton {
public:
    IconButton(QString symbol, QWidget* parent)
        : QAbstractButton(parent)
        , m_symbol(std::move(symbol)) {
        setFixedSize(buttonSide, buttonSide);
        setFocusPolicy(Qt::TabFocus);
    }
    QSize sizeHint() const override { return {buttonSide, buttonSide}; }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        paintButtonBase(painter, *this);
        const double glyph = style::symbolBoxSide(12);
        const QRectF box((width() - glyph) / 2, (height() - glyph) / 2, glyph, glyph);
        style::paintSymbol(painter, box, m_symbol, palette().color(QPalette::ButtonText));
        paintFocus(painter, *this);
    }

private:
    QString m_symbol;
};

/// A text label on the raised rounded rectangle: the rotation value, and the blend
/// menu's title with the small chevron of a menu button.
class LayerInspector::ValueButton final : public QAbstractButton {
public:
    ValueButton(int minWidth, int paddingX, bool chevron, QWidget* parent)
        : QAbstractButton(parent)
        , m_minWidth(minWidth)
        , m_paddingX(paddingX)
        , m_chevron(chevron) {
        setFont(style::uiFont(11, QFont::DemiBold));
        setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
        setFocusPolicy(Qt::TabFocus);
    }

    QSize sizeHint() const override {
        return {std::max(m_minWidth, shownTextWidth() + chevronRoom() + 2 * m_paddingX),
                buttonSide};
    }
    QSize minimumSizeHint() const override { return sizeHint(); }

    int wholeTextWidth() const { return QFontMetrics(font()).horizontalAdvance(text()); }
    int shownTextWidth() const {
        return m_textLimit > 0 ? std::min(m_textLimit, wholeTextWidth()) : wholeTextWidth();
    }
    bool isElided() const { return shownTextWidth() < wholeTextWidth(); }
    /// At most this much of the label's width shows, the rest elided; 0 for all of it.
    void setTextLimit(int limit) {
        if (limit == m_textLimit)
            return;
        m_textLimit = limit;
        updateGeometry();
        update();
    }

    void setLabel(const QString& label, const QColor& colour) {
        const bool resized = label != text();
        setText(label);
        setForeground(this, colour);
        if (resized)
            updateGeometry();
        update();
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        paintButtonBase(painter, *this);
        const QColor colour = palette().color(QPalette::ButtonText);
        const QRect content = rect().adjusted(m_paddingX, 0, -m_paddingX, 0);
        const QRect textRect = content.adjusted(0, 0, -chevronRoom(), 0);
        painter.setPen(colour);
        painter.setFont(font());
        painter.drawText(textRect, Qt::AlignCenter,
                         QFontMetrics(font()).elidedText(text(), Qt::ElideRight, textRect.width()));
        if (m_chevron) {
            const double cx = textRect.right() + chevronRoom() / 2.0 + 1;
            const double cy = height() / 2.0;
            QPainterPath path;
            path.moveTo(cx - 2.5, cy - 1.25);
            path.lineTo(cx, cy + 1.25);
            path.lineTo(cx + 2.5, cy - 1.25);
            painter.setBrush(Qt::NoBrush);
            painter.setPen(QPen(style::Palette::withAlpha(colour, colour.alphaF() * 0.7), 1.4,
                                Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
            painter.drawPath(path);
        }
        paintFocus(painter, *this);
    }

private:
    int chevronRoom() const { return m_chevron ? 9 : 0; }

    int m_minWidth;
    int m_paddingX;
    bool m_chevron;
    int m_textLimit = 0;
};

LayerInspector::LayerInspector(PlanetModel& model, QWidget* parent)
    : FloatingCapsule(parent)
    , m_model(model) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(shadowMargins() + QMargins(14, 9, 14, 9));
    row->setSpacing(spacing);
    row->setSizeConstraint(QLayout::SetFixedSize);

    auto* caption = new QLabel(tr("Layer"), this);
    caption->setObjectName(QStringLiteral("caption"));
    caption->setFont(style::uiFont(11, QFont::Bold, 1.0));
    setForeground(caption, style::Palette::secondaryText);
    row->addWidget(caption);
    m_caption = caption;

    auto* opacity = new QHBoxLayout;
    opacity->setSpacing(8);
    opacity->addWidget(new SymbolView(QStringLiteral("circle.lefthalf.filled"), 11,
                                      style::Palette::secondaryText, this));
    m_opacity = new TintedSlider(style::Palette::accent, this);
    m_opacity->setObjectName(QStringLiteral("opacity"));
    m_opacity->setAccessibleName(tr("Opacity"));
    m_opacity->setFixedWidth(opacityWidth);
    opacity->addWidget(m_opacity);
    row->addLayout(opacity);

    m_blendButton = new ValueButton(56, 6, true, this);
    m_blendButton->setObjectName(QStringLiteral("blendMode"));
    m_blendButton->setToolTip(tr("Blend mode"));
    row->addWidget(m_blendButton);

    IconButton* flipButton =
        addIconButton(QStringLiteral("arrow.left.and.right.righttriangle.left.righttriangle.right"),
                      tr("Flip"), QStringLiteral("flip"));
    IconButton* rotateLeft = addIconButton(QStringLiteral("rotate.left"), tr("Rotate −15°"),
                                           QStringLiteral("rotateLeft"));
    m_rotationButton = new ValueButton(38, 4, false, this);
    m_rotationButton->setObjectName(QStringLiteral("rotation"));
    m_rotationButton->setToolTip(tr("Reset rotation"));
    m_rotationButton->setFont(style::uiFont(11, QFont::DemiBold));
    row->addWidget(m_rotationButton);
    IconButton* rotateRight = addIconButton(QStringLiteral("rotate.right"), tr("Rotate +15°"),
                                            QStringLiteral("rotateRight"));
    IconButton* orient = addIconButton(QStringLiteral("location.north.circle"),
                                       tr("Orient to planet"), QStringLiteral("orient"));
    IconButton* centre =
        addIconButton(QStringLiteral("scope"), tr("Centre on planet"), QStringLiteral("centre"));
    IconButton* forward = addIconButton(QStringLiteral("square.3.layers.3d.top.filled"),
                                        tr("Bring forward"), QStringLiteral("bringForward"));
    IconButton* backward = addIconButton(QStringLiteral("square.3.layers.3d.bottom.filled"),
                                         tr("Send backward"), QStringLiteral("sendBackward"));
    IconButton* remove =
        addIconButton(QStringLiteral("trash"), tr("Delete layer"), QStringLiteral("delete"), true);
    // The keys by the names printed on them.
    remove->setToolTip(tr("Delete layer (Delete or Backspace)"));

    // The model's operations act on the selection, which is this inspector's layer.
    connect(m_opacity, &QSlider::sliderPressed, this, [this] { m_model.recordHistory(); });
    connect(m_opacity, &QSlider::valueChanged, this, &LayerInspector::opacityChanged);
    connect(m_blendButton, &QAbstractButton::clicked, this, &LayerInspector::showBlendMenu);
    connect(flipButton, &QAbstractButton::clicked, this, &LayerInspector::flip);
    connect(rotateLeft, &QAbstractButton::clicked, this, [this] { m_model.rotateSelected(-15); });
    connect(m_rotationButton, &QAbstractButton::clicked, this,
            [this] { m_model.resetSelectedRotation(); });
    connect(rotateRight, &QAbstractButton::clicked, this, [this] { m_model.rotateSelected(15); });
    connect(orient, &QAbstractButton::clicked, this, [this] { m_model.orientSelectedToPlanet(); });
    connect(centre, &QAbstractButton::clicked, this, [this] { m_model.centreSelectedOnPlanet(); });
    connect(forward, &QAbstractButton::clicked, this, [this] { m_model.bringSelectedForward(); });
    connect(backward, &QAbstractButton::clicked, this, [this] { m_model.sendSelectedBackward(); });
    connect(remove, &QAbstractButton::clicked, this, [this] { m_model.deleteSelectedLayer(); });

    connect(&m_model, &PlanetModel::selectedLayerIDChanged, this,
            &LayerInspector::selectionChanged);
    connect(&m_model, &PlanetModel::layersChanged, this, &LayerInspector::refresh);
    selectionChanged();
}

LayerInspector::~LayerInspector() = default;

LayerInspector::IconButton* LayerInspector::addIconButton(const QString& symbol,
                                                          const QString& help, const QString& name,
                                                          bool destructive) {
    auto* button = new IconButton(symbol, this);
    button->setObjectName(name);
    button->setToolTip(help);
    button->setAccessibleName(help);
    setForeground(button, destructive ? style::Palette::destructive : QColor(Qt::white));
    layout()->addWidget(button);
    return button;
}

bool LayerInspector::fitWidth(int available) {
    // Widths with the blend mode's whole name. A name too long even for the compact
    // bar (some languages' are) is cut short, and its tooltip says it whole.
    const auto wholeWidth = [this] {
        return sizeHint().width() + m_blendButton->wholeTextWidth() -
               m_blendButton->shownTextWidth();
    };
    setCompact(false);
    if (wholeWidth() > available)
        setCompact(true);
    const int over = wholeWidth() - available;
    m_blendButton->setTextLimit(
        over > 0 ? std::max(minBlendTextWidth, m_blendButton->wholeTextWidth() - over) : 0);
    layout()->activate();
    m_blendButton->setToolTip(m_blendButton->isElided()
                                  ? tr("Blend mode: %1").arg(m_blendButton->text())
                                  : tr("Blend mode"));
    return sizeHint().width() <= available;
}

void LayerInspector::setCompact(bool compact) {
    if (compact == m_compact)
        return;
    m_compact = compact;
    m_caption->setVisible(!compact);
    m_opacity->setFixedWidth(compact ? compactOpacityWidth : opacityWidth);
    layout()->setSpacing(compact ? compactSpacing : spacing);
    layout()->activate();
}

QSlider* LayerInspector::opacitySlider() const {
    return m_opacity;
}

QAbstractButton* LayerInspector::blendModeButton() const {
    return m_blendButton;
}

QAbstractButton* LayerInspector::rotationButton() const {
    return m_rotationButton;
}

std::optional<PlacedLayer> LayerInspector::layer() const {
    return m_model.layer(m_layerID);
}

void LayerInspector::selectionChanged() {
    m_layerID = m_model.selectedLayerID();
    refresh();
}

void LayerInspector::refresh() {
    const std::optional<PlacedLayer> current = layer();
    {
        const QSignalBlocker blocker(m_opacity);
        m_opacity->setValue(TintedSlider::positionFor(current ? current->opacity : 1.0, 0, 1));
        m_opacity->update();
    }
    const double rotation = current ? current->rotation : 0.0;
    m_rotationButton->setLabel(QString::asprintf("%.0f\u00b0", rotation),
                               style::Palette::withAlpha(Qt::white, 0.9));
    const LayerBlendMode mode = current ? current->blendMode : LayerBlendMode::normal;
    // A blend other than normal is easy to forget; its name stands out.
    m_blendButton->setLabel(title(mode), mode == LayerBlendMode::normal
                                             ? style::Palette::withAlpha(Qt::white, 0.9)
                                             : style::Palette::accent);
}

void LayerInspector::opacityChanged(int position) {
    // A drag took its snapshot as it began; a key press is a change of its own.
    if (!m_opacity->isSliderDown())
        m_model.recordHistory();
    const double opacity = TintedSlider::valueAt(position, 0, 1);
    if (!m_model.updateLayer(m_layerID, [opacity](PlacedLayer& layer) { layer.opacity = opacity; }))
        refresh(); // the layer is gone: the slider goes back to showing 1.0
}

void LayerInspector::flip() {
    m_model.recordHistory();
    m_model.updateLayer(m_layerID, [](PlacedLayer& layer) { layer.flipped = !layer.flipped; });
}

void LayerInspector::showBlendMenu() {
    const std::optional<PlacedLayer> current = layer();
    auto* menu = new QMenu(m_blendButton);
    menu->setObjectName(QStringLiteral("blendMenu"));
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const QColor mark = menu->palette().color(QPalette::WindowText);
    for (const LayerBlendMode mode : allLayerBlendModes) {
        QAction* action = menu->addAction(title(mode));
        if (current && current->blendMode == mode)
            action->setIcon(style::symbolIcon(QStringLiteral("checkmark"), mark));
        connect(action, &QAction::triggered, this,
                [this, mode] { m_model.setSelectedBlendMode(mode); });
    }
    menu->popup(m_blendButton->mapToGlobal(QPoint(0, m_blendButton->height() + 4)));
}

} // namespace velmora::ui
