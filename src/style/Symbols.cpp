#include "style/Symbols.h"

#include "model/Resources.h"

#include <QFile>
#include <QHash>
#include <QIconEngine>
#include <QPainter>
#include <QSvgRenderer>

#include <memory>

namespace velmora::style {

namespace {

/// The one place that maps symbol names to icon files.
const QHash<QString, QString>& symbolTable() {
    static const QHash<QString, QString> table{
        {QStringLiteral("globe"), QStringLiteral("globe.svg")},
        {QStringLiteral("globe.thin"), QStringLiteral("globe-thin.svg")},
        {QStringLiteral("cloud.sun.fill"), QStringLiteral("cloud-sun-fill.svg")},
        {QStringLiteral("line.3.horizontal"), QStringLiteral("list-bold.svg")},
        {QStringLiteral("hurricane"), QStringLiteral("hurricane-bold.svg")},
        {QStringLiteral("circle.dotted.and.circle"), QStringLiteral("intersect-bold.svg")},
        {QStringLiteral("arrow.uturn.backward"), QStringLiteral("arrow-u-up-left-bold.svg")},
        {QStringLiteral("arrow.uturn.forward"), QStringLiteral("arrow-u-up-right-bold.svg")},
        {QStringLiteral("plus"), QStringLiteral("plus-bold.svg")},
        {QStringLiteral("minus"), QStringLiteral("minus-bold.svg")},
        {QStringLiteral("square.and.arrow.up"), QStringLiteral("export-bold.svg")},
        {QStringLiteral("square.3.layers.3d"), QStringLiteral("stack-bold.svg")},
        {QStringLiteral("arrow.counterclockwise"),
         QStringLiteral("arrow-counter-clockwise-bold.svg")},
        {QStringLiteral("dial.medium"), QStringLiteral("gauge-bold.svg")},
        {QStringLiteral("circle.lefthalf.filled"), QStringLiteral("circle-half-fill.svg")},
        {QStringLiteral("drop.fill"), QStringLiteral("drop-fill.svg")},
        {QStringLiteral("camera.aperture"), QStringLiteral("aperture-bold.svg")},
        {QStringLiteral("checkmark.circle.fill"), QStringLiteral("check-circle-fill.svg")},
        {QStringLiteral("checkmark"), QStringLiteral("check-bold.svg")},
        {QStringLiteral("exclamationmark.circle.fill"), QStringLiteral("warning-circle-fill.svg")},
        {QStringLiteral("arrow.triangle.2.circlepath"),
         QStringLiteral("arrows-clockwise-bold.svg")},
        {QStringLiteral("xmark"), QStringLiteral("x-bold.svg")},
        {QStringLiteral("arrow.left.and.right.righttriangle.left.righttriangle.right"),
         QStringLiteral("flip-horizontal-bold.svg")},
        {QStringLiteral("rotate.left"), QStringLiteral("arrow-arc-left-bold.svg")},
        {QStringLiteral("rotate.right"), QStringLiteral("arrow-arc-right-bold.svg")},
        {QStringLiteral("location.north.circle"), QStringLiteral("compass-bold.svg")},
        {QStringLiteral("scope"), QStringLiteral("crosshair-bold.svg")},
        {QStringLiteral("square.3.layers.3d.top.filled"),
         QStringLiteral("selection-foreground-bold.svg")},
        {QStringLiteral("square.3.layers.3d.bottom.filled"),
         QStringLiteral("selection-background-bold.svg")},
        {QStringLiteral("trash"), QStringLiteral("trash-bold.svg")},
        // Window controls of the custom title bar.
        {QStringLiteral("window.minimize"), QStringLiteral("minus-bold.svg")},
        {QStringLiteral("window.maximize"), QStringLiteral("corners-out-bold.svg")},
        {QStringLiteral("window.restore"), QStringLiteral("corners-in-bold.svg")},
        {QStringLiteral("window.close"), QStringLiteral("x-bold.svg")},
    };
    return table;
}

/// One renderer per symbol and colour: the SVGs paint with "currentColor", which is
/// replaced by the tint before parsing.
QSvgRenderer* rendererFor(const QString& symbol, const QColor& color) {
    static QHash<QString, std::shared_ptr<QSvgRenderer>> cache;
    const QString key = symbol + QLatin1Char('|') + color.name(QColor::HexArgb);
    if (const auto found = cache.constFind(key); found != cache.constEnd())
        return found->get();
    QFile file(symbolFile(symbol));
    if (!file.open(QIODevice::ReadOnly))
        return nullptr;
    QByteArray svg = file.readAll();
    svg.replace("currentColor", color.name(QColor::HexRgb).toLatin1());
    if (color.alpha() < 255) {
        svg.replace("<svg ", QByteArray("<svg opacity=\"") +
                                 QByteArray::number(color.alphaF(), 'f', 3) + "\" ");
    }
    auto renderer = std::make_shared<QSvgRenderer>(svg);
    if (!renderer->isValid())
        return nullptr;
    cache.insert(key, renderer);
    return renderer.get();
}

/// Paints the symbol at whatever size and device pixel ratio an icon is asked for.
class SymbolEngine final : public QIconEngine {
public:
    SymbolEngine(QString symbol, QColor color)
        : m_symbol(std::move(symbol))
        , m_color(color) {}
    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State) override {
        QColor c = m_color;
        if (mode == QIcon::Disabled)
            c.setAlphaF(c.alphaF() * 0.4f);
        paintSymbol(*painter, rect, m_symbol, c);
    }
    QIconEngine* clone() const override { return new SymbolEngine(m_symbol, m_color); }
    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
        QPixmap pm(size);
        pm.fill(Qt::transparent);
        QPainter p(&pm);
        paint(&p, QRect(QPoint(), size), mode, state);
        return pm;
    }

private:
    QString m_symbol;
    QColor m_color;
};

} // namespace

QString symbolFile(const QString& symbol) {
    const auto found = symbolTable().constFind(symbol);
    if (found == symbolTable().constEnd())
        return {};
    return resourcesRoot() + QStringLiteral("/icons/phosphor/") + *found;
}

void paintSymbol(QPainter& painter, const QRectF& rect, const QString& symbol,
                 const QColor& color) {
    if (QSvgRenderer* renderer = rendererFor(symbol, color)) {
        painter.save();
        painter.setRenderHint(QPainter::Antialiasing);
        renderer->render(&painter, rect);
        painter.restore();
    }
}

QIcon symbolIcon(const QString& symbol, const QColor& color) {
    return QIcon(new SymbolEngine(symbol, color));
}

QStringList knownSymbols() {
    return symbolTable().keys();
}

} // namespace velmora::style
