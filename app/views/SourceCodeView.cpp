#include "app/views/SourceCodeView.h"

#include <QContextMenuEvent>
#include <QFontDatabase>
#include <QHelpEvent>
#include <QPainter>
#include <QSyntaxHighlighter>
#include <QTextBlock>
#include <QToolTip>
#include <algorithm>

#include "app/canvas/CanvasPalette.h"
#include "app/views/Appearance.h"

namespace vantrel {

namespace {

constexpr int kGutterPadding = 8;
constexpr int kMarkWidth = 10;

// Token colours chosen for contrast on the light and the dark base colour.
QColor tokenColor(TokenKind kind, bool dark, const QPalette& palette) {
    switch (kind) {
        case TokenKind::keyword: return dark ? QColor(0xfc, 0x5f, 0xa3) : QColor(0x9b, 0x23, 0x93);
        case TokenKind::string: return dark ? QColor(0xfc, 0x6a, 0x5d) : QColor(0xc4, 0x1a, 0x16);
        case TokenKind::number: return dark ? QColor(0xd0, 0xbf, 0x69) : QColor(0x1c, 0x00, 0xcf);
        case TokenKind::comment: return palette.color(QPalette::PlaceholderText);
        case TokenKind::identifier:
        case TokenKind::punctuation: break;
    }
    return palette.color(QPalette::Text);
}

// UTF-16 position of a byte offset of a UTF-8 line.
int utf16Offset(const std::string& line, std::uint32_t byteOffset) {
    return static_cast<int>(QString::fromUtf8(line.data(), std::min<qsizetype>(byteOffset, std::ssize(line))).size());
}

}  // namespace

// Colours each line from the tokens the source came with; no parsing here.
class TokenHighlighter : public QSyntaxHighlighter {
public:
    TokenHighlighter(SourceCodeView& view) : QSyntaxHighlighter(view.document()), view_(view) {}

protected:
    void highlightBlock(const QString&) override {
        const SymbolSource& source = view_.source();
        const int index = currentBlock().blockNumber();
        if (index < 0 || index >= std::ssize(source.text.tokens)) return;
        const std::string& line = source.text.lines[static_cast<std::size_t>(index)];
        const QPalette palette = view_.palette();
        const bool dark = CanvasPalette(palette).isDark();
        for (const SourceToken& token : source.text.tokens[static_cast<std::size_t>(index)]) {
            if (token.kind == TokenKind::identifier || token.kind == TokenKind::punctuation) continue;
            QTextCharFormat format;
            format.setForeground(tokenColor(token.kind, dark, palette));
            if (token.kind == TokenKind::comment) format.setFontItalic(true);
            const int start = utf16Offset(line, token.start);
            setFormat(start, utf16Offset(line, token.start + token.length) - start, format);
        }
    }

private:
    SourceCodeView& view_;
};

class SourceGutter : public QWidget {
public:
    explicit SourceGutter(SourceCodeView& view) : QWidget(&view), view_(view) {
        setObjectName(QStringLiteral("sourceGutter"));
    }
    QSize sizeHint() const override { return {view_.gutterWidth(), 0}; }

protected:
    void paintEvent(QPaintEvent* event) override { view_.paintGutter(event); }
    bool event(QEvent* event) override {
        if (event->type() == QEvent::ToolTip) {
            auto* help = static_cast<QHelpEvent*>(event);
            const QString text = view_.callsText(view_.lineAt(QPoint(0, help->pos().y())));
            if (text.isEmpty()) QToolTip::hideText();
            else QToolTip::showText(help->globalPos(), text, this);
            return true;
        }
        return QWidget::event(event);
    }

private:
    SourceCodeView& view_;
};

SourceCodeView::SourceCodeView(QWidget* parent) : QPlainTextEdit(parent) {
    setReadOnly(true);
    setLineWrapMode(QPlainTextEdit::NoWrap);
    setFrameShape(QFrame::NoFrame);
    setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    setTabStopDistance(4 * fontMetrics().horizontalAdvance(QLatin1Char(' ')));
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    gutter_ = new SourceGutter(*this);
    highlighter_ = new TokenHighlighter(*this);
    connect(this, &QPlainTextEdit::updateRequest, this, [this](const QRect& rect, int dy) {
        if (dy) gutter_->scroll(0, dy);
        else gutter_->update(0, rect.y(), gutter_->width(), rect.height());
    });
    connect(this, &QPlainTextEdit::blockCountChanged, this, [this] { updateGutterWidth(); });
    updateGutterWidth();
}

void SourceCodeView::setSource(SymbolSource source) {
    source_ = std::move(source);
    highlighted_.clear();
    QStringList lines;
    lines.reserve(std::ssize(source_.text.lines));
    for (const std::string& line : source_.text.lines) lines.append(QString::fromStdString(line));
    setPlainText(lines.join(QLatin1Char('\n')));  // colours the blocks through the highlighter
    updateGutterWidth();
    refreshHighlights();
    gutter_->update();
}

void SourceCodeView::setHighlightedLines(std::vector<std::int64_t> lines) {
    std::sort(lines.begin(), lines.end());
    lines.erase(std::unique(lines.begin(), lines.end()), lines.end());
    highlighted_ = std::move(lines);
    refreshHighlights();
    if (!highlighted_.empty()) {
        QTextCursor cursor(
            document()->findBlockByNumber(static_cast<int>(highlighted_.front() - source_.text.firstLine)));
        setTextCursor(cursor);
        centerCursor();
    } else {
        moveCursor(QTextCursor::Start);
    }
    gutter_->update();
}

void SourceCodeView::refreshHighlights() {
    QList<QTextEdit::ExtraSelection> selections;
    const QColor band = withOpacity(palette().color(QPalette::Highlight), 0.28);
    for (std::int64_t line : highlighted_) {
        QTextEdit::ExtraSelection selection;
        selection.format.setBackground(band);
        selection.format.setProperty(QTextFormat::FullWidthSelection, true);
        selection.cursor = QTextCursor(document()->findBlockByNumber(static_cast<int>(line - source_.text.firstLine)));
        selections.append(selection);
    }
    setExtraSelections(selections);
}

std::int64_t SourceCodeView::lineAt(const QPoint& viewportPos) const {
    return source_.text.firstLine + cursorForPosition(viewportPos).blockNumber();
}

std::int64_t SourceCodeView::cursorLine() const { return source_.text.firstLine + textCursor().blockNumber(); }

int SourceCodeView::lineTop(std::int64_t line) const {
    const QTextBlock block = document()->findBlockByNumber(static_cast<int>(line - source_.text.firstLine));
    if (!block.isValid() || !block.isVisible()) return -1;
    return qRound(blockBoundingGeometry(block).translated(contentOffset()).top());
}

QString SourceCodeView::callsText(std::int64_t line) const {
    auto calls = source_.callsByLine.find(line);
    if (calls == source_.callsByLine.end()) return {};
    QStringList names;
    for (const std::string& name : calls->second) names.append(QString::fromStdString(name));
    return QStringLiteral("Calls ") + names.join(QStringLiteral(", "));
}

int SourceCodeView::gutterWidth() const {
    const std::int64_t last = source_.text.firstLine + std::max<std::int64_t>(blockCount(), 1) - 1;
    const int digits = static_cast<int>(QString::number(std::max<std::int64_t>(last, 99)).size());
    return kGutterPadding + kMarkWidth + digits * fontMetrics().horizontalAdvance(QLatin1Char('9')) + kGutterPadding;
}

void SourceCodeView::updateGutterWidth() {
    setViewportMargins(gutterWidth(), 0, 0, 0);
    const QRect area = contentsRect();
    gutter_->setGeometry(QRect(area.left(), area.top(), gutterWidth(), area.height()));
}

void SourceCodeView::resizeEvent(QResizeEvent* event) {
    QPlainTextEdit::resizeEvent(event);
    updateGutterWidth();
}

void SourceCodeView::changeEvent(QEvent* event) {
    QPlainTextEdit::changeEvent(event);
    // A new palette (light or dark) recolours tokens, bands and the gutter.
    if (event->type() == QEvent::PaletteChange) {
        highlighter_->rehighlight();
        refreshHighlights();
        gutter_->update();
    }
}

void SourceCodeView::paintGutter(QPaintEvent* event) {
    QPainter painter(gutter_);
    const QPalette& colours = palette();
    painter.fillRect(event->rect(), colours.color(QPalette::Window));
    const CanvasPalette named(colours);
    const QColor mark = named.color(NamedColor::orange);
    const QColor accent = named.color(NamedColor::accentColor);
    const int numberRight = gutter_->width() - kGutterPadding;
    QTextBlock block = firstVisibleBlock();
    while (block.isValid()) {
        const QRectF box = blockBoundingGeometry(block).translated(contentOffset());
        if (box.top() > event->rect().bottom()) break;
        if (block.isVisible() && box.bottom() >= event->rect().top()) {
            const std::int64_t line = source_.text.firstLine + block.blockNumber();
            const bool highlighted = std::binary_search(highlighted_.begin(), highlighted_.end(), line);
            const int top = qRound(box.top());
            const int height = qRound(box.height());
            if (highlighted) painter.fillRect(QRect(0, top, 3, height), accent);
            if (source_.callsByLine.contains(line)) {
                painter.setRenderHint(QPainter::Antialiasing);
                painter.setPen(Qt::NoPen);
                painter.setBrush(highlighted ? accent : mark);
                const qreal size = 6;
                painter.drawEllipse(QRectF(kGutterPadding, top + (height - size) / 2.0, size, size));
            }
            QFont numberFont = font();
            numberFont.setBold(highlighted);
            painter.setFont(numberFont);
            painter.setPen(colours.color(highlighted ? QPalette::Text : QPalette::PlaceholderText));
            painter.drawText(QRect(0, top, numberRight, height), Qt::AlignRight | Qt::AlignVCenter,
                             QString::number(line));
        }
        block = block.next();
    }
}

void SourceCodeView::mouseDoubleClickEvent(QMouseEvent* event) {
    if (source_.text.lines.empty()) return QPlainTextEdit::mouseDoubleClickEvent(event);
    emit lineActivated(lineAt(event->position().toPoint()));
    event->accept();
}

void SourceCodeView::contextMenuEvent(QContextMenuEvent* event) {
    if (source_.text.lines.empty()) return event->ignore();
    const std::int64_t line = event->reason() == QContextMenuEvent::Mouse ? lineAt(event->pos()) : cursorLine();
    emit lineMenuRequested(line, event->globalPos());
    event->accept();
}

}  // namespace vantrel
