// The source panel: the code of the selected symbol, beside the impact panel. Its lines
// come with numbers, colours and a gutter mark on each line that calls another symbol.
// When a caller is chosen in the impact panel (showCaller), the panel shows that caller
// with the lines where it calls one level closer to the selection highlighted and the
// first of them scrolled into view; that stays while the store then selects the caller.
//
// The file is read on a thread of the panel's own (one file, bounded by SourceLimits);
// only the newest request is shown, and only the destructor waits, for one read at most.
#pragma once

#include <QThreadPool>
#include <QWidget>
#include <cstdint>
#include <string>

#include "app/state/ProjectStore.h"
#include "core/source/SymbolSource.h"

class QLabel;
class QPushButton;
class QStackedWidget;

namespace vantrel {

class ElidedLabel;
class SourceCodeView;

class SourcePanel : public QWidget {
    Q_OBJECT

public:
    explicit SourcePanel(ProjectStore& store, QWidget* parent = nullptr);
    ~SourcePanel() override;

    // Shows `callerId` with its calls to any of `callees` highlighted.
    void showCaller(const std::string& callerId, const IdSet& callees);

    // The symbol shown (or being read); empty for none.
    const std::string& shownId() const { return shownId_; }
    bool isLoading() const { return loading_; }
    // The line "Open in Editor" takes for the shown symbol: the first highlighted line,
    // else the one where it starts; 0 when nothing is shown.
    std::int64_t preferredLine() const;
    SourceCodeView* codeView() const { return code_; }
    // The header's second line: where the symbol is, and what the highlights are.
    const QString& statusText() const { return status_; }
    const QString& placeText() const { return place_; }

signals:
    // The newest request has been read and is on screen (or its error is).
    void loaded();
    void openRequested(const QString& symbolId, std::int64_t line);
    void symbolMenuRequested(const QString& symbolId, std::int64_t line, const QPoint& globalPos);

private:
    QWidget* buildHeader();
    void scheduleFollow();
    void followSelection();
    void display(const std::string& id, const IdSet& focus);
    void showMessage(const QString& message);
    void showDetail(const QString& place, const QString& status);
    void apply(std::uint64_t generation, SymbolSource source);

    ProjectStore& store_;
    bool followPending_ = false;
    bool irChanged_ = false;
    std::string shownId_;
    IdSet focus_;
    std::uint64_t generation_ = 0;
    bool loading_ = false;

    QString place_;
    QString status_;

    ElidedLabel* name_;
    ElidedLabel* detail_;
    QPushButton* open_;
    QStackedWidget* body_;
    QLabel* message_;
    SourceCodeView* code_;
    QThreadPool pool_;  // last: waits for a read in flight before the rest goes
};

}  // namespace vantrel
