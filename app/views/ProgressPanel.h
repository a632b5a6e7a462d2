// The panel over the graph while a scan runs: "Indexing…" with a bar and the phase and
// counts under it, the file being worked on, and "Cancel".
#pragma once

#include <QString>
#include <cstdint>

#include "app/state/ProjectStore.h"
#include "app/views/MaterialFrame.h"

class QLabel;
class QProgressBar;
class QPushButton;

namespace vantrel {

class ElidedLabel;

// What the bar and its label show for the last report: the phase's case name ("working"
// before the first report), done of total with the total at least 1 and done at most
// the total, so a bar is never over full.
struct ProgressDisplay {
    QString phase;
    std::int64_t done = 0;
    std::int64_t total = 1;
    QString currentPath;  // empty: no path row

    QString valueLabel() const;  // phase, two blanks, done "/" total
};

ProgressDisplay progressDisplay(const OptionalScanProgress& progress);

class ProgressPanel : public MaterialFrame {
    Q_OBJECT

public:
    explicit ProgressPanel(QWidget* parent = nullptr);

    void setProgress(const OptionalScanProgress& progress);

    const QProgressBar& bar() const { return *bar_; }
    QString valueText() const;
    bool showsPath() const;

    // Wide enough for the longest path row.
    QSize sizeHint() const override;

signals:
    void cancelRequested();

private:
    QProgressBar* bar_;
    QLabel* value_;
    ElidedLabel* path_;
    QPushButton* cancel_;
};

}  // namespace vantrel
