// A labelled stepper: the label text with the value, then "−" and "+" buttons. The
// value stays within its range, and a button at the end of the range is disabled. The
// owner decides what a step does: `stepped` only asks for the new value.
#pragma once

#include <QWidget>

class QLabel;
class QToolButton;

namespace vantrel {

class Stepper : public QWidget {
    Q_OBJECT

public:
    // `format` holds "%1" where the value goes, e.g. "Max depth: %1".
    Stepper(QString format, int minimum, int maximum, QWidget* parent = nullptr);

    // Shows `value` as it is, even outside the range (a project file may set one).
    void setValue(int value);
    int value() const { return value_; }
    QString text() const;

    void stepUp() { step(+1); }
    void stepDown() { step(-1); }

signals:
    void stepped(int newValue);

protected:
    void changeEvent(QEvent* event) override;

private:
    void step(int delta);
    void refresh();

    QString format_;
    int minimum_;
    int maximum_;
    int value_;
    QLabel* label_;
    QToolButton* down_;
    QToolButton* up_;
};

}  // namespace vantrel
