// Read-only lines of code with their numbers: tokens coloured for the light or dark
// palette, a mark in the gutter on each line that calls other symbols (its tooltip names
// them), and highlighted lines, the first of which is scrolled into view. It only shows
// what it is given (SymbolSource from core/source); reading files is not its business.
// A double click on a line asks for that line in an editor; a right click asks for a
// menu for it.
#pragma once

#include <QPlainTextEdit>
#include <cstdint>
#include <vector>

#include "core/source/SymbolSource.h"

namespace vantrel {

class SourceGutter;
class TokenHighlighter;

class SourceCodeView : public QPlainTextEdit {
    Q_OBJECT

public:
    explicit SourceCodeView(QWidget* parent = nullptr);

    void setSource(SymbolSource source);
    const SymbolSource& source() const { return source_; }
    // Highlights these lines (file line numbers) and scrolls the first into view.
    void setHighlightedLines(std::vector<std::int64_t> lines);
    const std::vector<std::int64_t>& highlightedLines() const { return highlighted_; }

    // The file line number at a point of the viewport, or of the text cursor.
    std::int64_t lineAt(const QPoint& viewportPos) const;
    std::int64_t cursorLine() const;
    // The top of a line in viewport coordinates; -1 when it is not shown.
    int lineTop(std::int64_t line) const;
    QWidget* gutter() const { return gutter_; }
    int gutterWidth() const;
    // "Calls a, b" for a line with call marks, else empty: the gutter's tooltip.
    QString callsText(std::int64_t line) const;

signals:
    void lineActivated(std::int64_t line);
    void lineMenuRequested(std::int64_t line, const QPoint& globalPos);

protected:
    void resizeEvent(QResizeEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    friend class SourceGutter;
    void paintGutter(QPaintEvent* event);
    void refreshHighlights();
    void updateGutterWidth();

    SymbolSource source_;
    std::vector<std::int64_t> highlighted_;
    QWidget* gutter_;
    TokenHighlighter* highlighter_;
};

}  // namespace vantrel
