#include "app/views/ProgressPanel.h"

#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>
#include <limits>

#include "app/views/ElidedLabel.h"
#include "app/views/TextStyles.h"

namespace vantrel {

namespace {
constexpr int kPadding = 16;
constexpr int kSpacing = 10;
constexpr int kMaxPathWidth = 420;
}  // namespace

QString ProgressDisplay::valueLabel() const { return phase + QStringLiteral("  %1/%2").arg(done).arg(total); }

ProgressDisplay progressDisplay(const OptionalScanProgress& progress) {
    ProgressDisplay display;
    if (!progress) {
        display.phase = QStringLiteral("working");
        return display;
    }
    display.phase = QString::fromUtf8(rawValue(progress->phase));
    display.total = std::max<std::int64_t>(progress->total, 1);
    display.done = std::min(progress->processed, display.total);
    if (progress->currentPath) display.currentPath = QString::fromStdString(*progress->currentPath);
    return display;
}

ProgressPanel::ProgressPanel(QWidget* parent) : MaterialFrame(Material::regular, 12, parent) {
    setBorder(Border{QPalette::Text, 0.1, 1, false});
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(kPadding, kPadding, kPadding, kPadding);
    column->setSpacing(kSpacing);

    // The bar with its title above and its value under it, as one row.
    auto* barColumn = new QVBoxLayout;
    barColumn->setSpacing(4);
    barColumn->addWidget(makeLabel(QStringLiteral("Indexing\u2026"), TextStyle::headline, false, this));
    bar_ = new QProgressBar(this);
    bar_->setTextVisible(false);
    bar_->setFixedHeight(8);
    barColumn->addWidget(bar_);
    value_ = makeLabel({}, TextStyle::caption, true, this);
    barColumn->addWidget(value_);
    column->addLayout(barColumn);

    path_ = new ElidedLabel(Qt::ElideMiddle, this);
    applyTextStyle(path_, TextStyle::caption2);
    makeSecondary(path_);
    path_->setMaximumWidth(kMaxPathWidth);
    path_->setAlignment(Qt::AlignHCenter);
    column->addWidget(path_, 0, Qt::AlignHCenter);

    cancel_ = new QPushButton(QStringLiteral("Cancel"), this);
    column->addWidget(cancel_, 0, Qt::AlignHCenter);
    connect(cancel_, &QPushButton::clicked, this, &ProgressPanel::cancelRequested);

    setProgress(std::nullopt);
}

void ProgressPanel::setProgress(const OptionalScanProgress& progress) {
    const ProgressDisplay display = progressDisplay(progress);
    constexpr std::int64_t kIntMax = std::numeric_limits<int>::max();
    // The bar counts in int; a total beyond that is scaled down with its part.
    const std::int64_t scale = display.total > kIntMax ? display.total / kIntMax + 1 : 1;
    bar_->setRange(0, static_cast<int>(display.total / scale));
    bar_->setValue(static_cast<int>(display.done / scale));
    value_->setText(display.valueLabel());
    path_->setFullText(display.currentPath);
    path_->setVisible(!display.currentPath.isEmpty());
}

QSize ProgressPanel::sizeHint() const { return {kMaxPathWidth + 2 * kPadding, MaterialFrame::sizeHint().height()}; }

QString ProgressPanel::valueText() const { return value_->text(); }

bool ProgressPanel::showsPath() const { return !path_->isHidden(); }

}  // namespace vantrel
