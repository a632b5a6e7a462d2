#include "app/views/OverlayHost.h"

#include <QEvent>
#include <algorithm>

namespace vantrel {

namespace {
constexpr int kMargin = 20;
}  // namespace

OverlayHost::OverlayHost(QWidget* base, QWidget* parent) : QWidget(parent), base_(base) {
    base_->setParent(this);
    base_->show();
}

void OverlayHost::setOverlay(QWidget* overlay) {
    if (overlay_ == overlay) return;
    if (overlay_) {
        overlay_->removeEventFilter(this);
        overlay_->hide();
    }
    overlay_ = overlay;
    if (overlay_) {
        overlay_->installEventFilter(this);
        arrange();
        overlay_->show();
        overlay_->raise();
    }
}

void OverlayHost::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    arrange();
}

bool OverlayHost::eventFilter(QObject* watched, QEvent* event) {
    // The panel's content changed its size wishes (new recents, a longer message).
    if (watched == overlay_ && event->type() == QEvent::LayoutRequest) arrange();
    return QWidget::eventFilter(watched, event);
}

void OverlayHost::arrange() {
    base_->setGeometry(rect());
    if (!overlay_) return;
    const int available = std::max(0, width() - 2 * kMargin);
    int panelWidth =
        std::max({overlay_->sizeHint().width(), overlay_->minimumSizeHint().width(), overlay_->minimumWidth()});
    panelWidth = std::min({panelWidth, overlay_->maximumWidth(), available});
    const int panelHeight =
        overlay_->hasHeightForWidth() ? overlay_->heightForWidth(panelWidth) : overlay_->sizeHint().height();
    overlay_->setGeometry((width() - panelWidth) / 2, std::max(0, (height() - panelHeight) / 2), panelWidth,
                          panelHeight);
}

}  // namespace vantrel
