// The welcome card over the whole window: a scrim and a card with the title, four tips
// and "Got it". Return presses "Got it", the default button; Escape does nothing. The
// card is at most 520 wide and keeps 20 from the window's edges.
#pragma once

#include <QWidget>
#include <functional>

class QPushButton;

namespace vantrel {

class MaterialFrame;

class OnboardingView : public QWidget {
    Q_OBJECT

public:
    // `onGotIt` runs when "Got it" is pressed.
    explicit OnboardingView(std::function<void()> onGotIt, QWidget* parent = nullptr);

    static QStringList tips();
    QRect cardGeometry() const;
    QPushButton* gotItButton() const { return gotIt_; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void arrangeCard();

    std::function<void()> onGotIt_;
    MaterialFrame* card_;
    QPushButton* gotIt_;
};

}  // namespace vantrel
