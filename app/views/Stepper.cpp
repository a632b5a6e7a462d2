#include "app/views/Stepper.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QToolButton>
#include <algorithm>

namespace vantrel {

Stepper::Stepper(QString format, int minimum, int maximum, QWidget* parent)
    : QWidget(parent), format_(std::move(format)), minimum_(minimum), maximum_(maximum), value_(minimum) {
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);
    label_ = new QLabel(this);
    down_ = new QToolButton(this);
    up_ = new QToolButton(this);
    down_->setText(QStringLiteral("\u2212"));
    up_->setText(QStringLiteral("+"));
    down_->setAccessibleName(QStringLiteral("Decrement"));
    up_->setAccessibleName(QStringLiteral("Increment"));
    for (QToolButton* button : {down_, up_}) {
        button->setFixedSize(22, 20);
        button->setAutoRepeat(true);
    }
    layout->addWidget(label_);
    layout->addSpacing(2);
    layout->addWidget(down_);
    layout->addWidget(up_);
    layout->addStretch(1);
    connect(down_, &QToolButton::clicked, this, &Stepper::stepDown);
    connect(up_, &QToolButton::clicked, this, &Stepper::stepUp);
    refresh();
}

void Stepper::setValue(int value) {
    value_ = value;
    refresh();
}

QString Stepper::text() const { return format_.arg(value_); }

void Stepper::step(int delta) {
    if (!isEnabled()) return;
    int next = std::clamp(value_ + delta, minimum_, maximum_);
    if (next != value_) emit stepped(next);
}

void Stepper::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::EnabledChange) refresh();
}

void Stepper::refresh() {
    label_->setText(text());
    down_->setEnabled(isEnabled() && value_ > minimum_);
    up_->setEnabled(isEnabled() && value_ < maximum_);
}

}  // namespace vantrel
