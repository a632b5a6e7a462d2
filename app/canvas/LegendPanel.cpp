#include "app/canvas/LegendPanel.h"

#include <QEvent>
#include <QFontMetricsF>
#include <QKeyEvent>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "app/canvas/CanvasPalette.h"
#include "app/canvas/CanvasShapes.h"

namespace vantrel {

namespace {

constexpr double kPadding = 10;
constexpr double kSectionSpacing = 8;  // between the key and the search field
constexpr double kRowSpacing = 6;      // between the id and the two key rows
constexpr double kDotSpacing = 10, kDotSize = 8, kDotGap = 4;
constexpr double kGlyphSpacing = 12, kGlyphSize = 10, kGlyphGap = 5;
constexpr int kSearchWidth = 320;

struct DotEntry {
    NamedColor color;
    const char* label;
};
constexpr DotEntry kDots[] = {{NamedColor::red, "Selected"},
                              {NamedColor::orange, "L1"},
                              {NamedColor::yellow, "L2"},
                              {NamedColor::green, "L3"},
                              {NamedColor::blue, "Downstream"}};

struct GlyphEntry {
    SymbolKind kind;
    const char* label;
};
constexpr GlyphEntry kGlyphs[] = {{SymbolKind::function, "Function"},
                                  {SymbolKind::component, "Component"},
                                  {SymbolKind::method, "Method"},
                                  {SymbolKind::classType, "Class"}};

constexpr char kChangedLabel[] = "Changed";

double dotRowWidth(const QFontMetricsF& metrics, bool changes) {
    double width = 0;
    for (const DotEntry& dot : kDots) width += kDotSize + kDotGap + metrics.horizontalAdvance(dot.label);
    width += kDotSpacing * (std::size(kDots) - 1);
    if (changes) width += kDotSpacing + kDotSize + kDotGap + metrics.horizontalAdvance(kChangedLabel);
    return width;
}

double glyphRowWidth(const QFontMetricsF& metrics) {
    double width = 0;
    for (const GlyphEntry& glyph : kGlyphs) width += kGlyphSize + kGlyphGap + metrics.horizontalAdvance(glyph.label);
    return width + kGlyphSpacing * (std::size(kGlyphs) - 1);
}

}  // namespace

LegendPanel::LegendPanel(QWidget* parent) : QWidget(parent), search_(new QLineEdit(this)) {
    search_->setPlaceholderText(QStringLiteral("Search graph…"));
    search_->setFixedWidth(kSearchWidth);
    search_->hide();
    search_->installEventFilter(this);
    connect(search_, &QLineEdit::returnPressed, this, &LegendPanel::searchSubmitted);
    relayout();
}

void LegendPanel::setSelectedId(const std::optional<std::string>& id) {
    if (selectedId_ == id) return;
    selectedId_ = id;
    relayout();
}

void LegendPanel::setMaximumPanelWidth(int width) {
    if (maximumWidth_ == width) return;
    maximumWidth_ = width;
    relayout();
}

void LegendPanel::setChangesShown(bool shown) {
    if (changesShown_ == shown) return;
    changesShown_ = shown;
    relayout();
}

void LegendPanel::setSearchVisible(bool visible) {
    searchVisible_ = visible;
    search_->setVisible(visible);
    relayout();
}

QString LegendPanel::titleText() const {
    return selectedId_ ? QString::fromStdString(*selectedId_) : QStringLiteral("Select a symbol");
}

void LegendPanel::relayout() {
    const QFontMetricsF title(CanvasFonts::caption()), keys(CanvasFonts::caption2());
    double content = std::max({title.horizontalAdvance(titleText()), dotRowWidth(keys, changesShown_), glyphRowWidth(keys)});
    if (searchVisible_) content = std::max(content, static_cast<double>(kSearchWidth));
    const double width = std::min(content + 2 * kPadding, static_cast<double>(std::max(maximumWidth_, 0)));
    double height = kPadding + title.height() + kRowSpacing + std::max(kDotSize, keys.height()) + kRowSpacing +
                    std::max(kGlyphSize, keys.height()) + kPadding;
    if (searchVisible_) {
        search_->move(static_cast<int>(kPadding), static_cast<int>(std::ceil(height - kPadding + kSectionSpacing)));
        height += kSectionSpacing + search_->sizeHint().height();
    }
    setFixedSize(static_cast<int>(std::ceil(width)), static_cast<int>(std::ceil(height)));
    update();
}

void LegendPanel::paintEvent(QPaintEvent*) {
    const CanvasPalette palette(this->palette());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(continuousRoundedRect(QRectF(rect()), 10), palette.material());

    const QFont titleFont = CanvasFonts::caption(), keyFont = CanvasFonts::caption2();
    const QFontMetricsF title(titleFont), keys(keyFont);
    const QColor secondary = palette.color(NamedColor::secondary);
    const double x0 = kPadding;
    double y = kPadding;

    painter.setPen(secondary);
    painter.setFont(titleFont);
    const QString text = title.elidedText(titleText(), Qt::ElideMiddle, width() - 2 * kPadding);
    painter.drawText(QPointF(x0, y + title.ascent()), text);
    y += title.height() + kRowSpacing;

    painter.setFont(keyFont);
    double rowHeight = std::max(kDotSize, keys.height());
    double x = x0;
    for (const DotEntry& dot : kDots) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(palette.color(dot.color));
        painter.drawEllipse(QRectF(x, y + (rowHeight - kDotSize) / 2, kDotSize, kDotSize));
        x += kDotSize + kDotGap;
        painter.setPen(secondary);
        painter.drawText(QPointF(x, y + (rowHeight - keys.height()) / 2 + keys.ascent()), dot.label);
        x += keys.horizontalAdvance(dot.label) + kDotSpacing;
    }
    if (changesShown_) {
        // A ring, as the changed nodes wear it.
        painter.setPen(QPen(palette.color(NamedColor::teal), 2.0));
        painter.setBrush(Qt::NoBrush);
        painter.drawEllipse(QRectF(x + 1, y + (rowHeight - kDotSize) / 2 + 1, kDotSize - 2, kDotSize - 2));
        x += kDotSize + kDotGap;
        painter.setPen(secondary);
        painter.drawText(QPointF(x, y + (rowHeight - keys.height()) / 2 + keys.ascent()), kChangedLabel);
    }
    y += rowHeight + kRowSpacing;

    rowHeight = std::max(kGlyphSize, keys.height());
    x = x0;
    for (const GlyphEntry& glyph : kGlyphs) {
        painter.fillPath(nodePath(glyph.kind, QRectF(x, y + (rowHeight - kGlyphSize) / 2, kGlyphSize, kGlyphSize)),
                         secondary);
        x += kGlyphSize + kGlyphGap;
        painter.setPen(secondary);
        painter.drawText(QPointF(x, y + (rowHeight - keys.height()) / 2 + keys.ascent()), glyph.label);
        x += keys.horizontalAdvance(glyph.label) + kGlyphSpacing;
    }
}

bool LegendPanel::eventFilter(QObject* watched, QEvent* event) {
    if (watched == search_ && event->type() == QEvent::KeyPress) {
        const auto* key = static_cast<QKeyEvent*>(event);
        if (key->key() == Qt::Key_Escape) {
            emit searchCancelled();
            return true;
        }
        // Tab would move the focus out of the field; typed there it does nothing.
        if (key->key() == Qt::Key_Tab || key->key() == Qt::Key_Backtab) return true;
    }
    return QWidget::eventFilter(watched, event);
}

void LegendPanel::changeEvent(QEvent* event) {
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) relayout();
    QWidget::changeEvent(event);
}

}  // namespace vantrel
