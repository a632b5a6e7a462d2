// The graph with at most one panel centred over it. The panel gets its preferred width,
// limited by its maximum width and the space left after a margin of 20 on both sides,
// and the height it needs at that width.
#pragma once

#include <QPointer>
#include <QWidget>

namespace vantrel {

class OverlayHost : public QWidget {
    Q_OBJECT

public:
    // `base` fills the host; panels given to setOverlay must be children of the host.
    explicit OverlayHost(QWidget* base, QWidget* parent = nullptr);

    // Shows `overlay` (nullptr: none) and hides the panel shown before.
    void setOverlay(QWidget* overlay);
    QWidget* overlay() const { return overlay_; }
    QWidget* base() const { return base_; }

protected:
    void resizeEvent(QResizeEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void arrange();

    QWidget* base_;
    QPointer<QWidget> overlay_;
};

}  // namespace vantrel
