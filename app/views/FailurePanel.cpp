#include "app/views/FailurePanel.h"

#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>

#include "app/views/TextStyles.h"

namespace vantrel {

namespace {
constexpr int kPadding = 20;
constexpr int kSpacing = 12;
constexpr int kMaxWidth = 420;
}  // namespace

FailurePanel::FailurePanel(QWidget* parent) : MaterialFrame(Material::regular, 12, parent) {
    setBorder(Border{QPalette::Text, 0.1, 1, false});
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(kPadding, kPadding, kPadding, kPadding);
    column->setSpacing(kSpacing);
    column->addWidget(makeLabel(QStringLiteral("Scan failed"), TextStyle::headline, false, this), 0, Qt::AlignHCenter);
    message_ = makeLabel({}, TextStyle::callout, true, this);
    message_->setWordWrap(true);
    message_->setAlignment(Qt::AlignHCenter);
    message_->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    message_->setTextFormat(Qt::PlainText);
    column->addWidget(message_);
    auto* reset = new QPushButton(QStringLiteral("Reset"), this);
    column->addWidget(reset, 0, Qt::AlignHCenter);
    connect(reset, &QPushButton::clicked, this, &FailurePanel::resetRequested);
    setMaximumWidth(kMaxWidth);
}

void FailurePanel::setMessage(const QString& message) { message_->setText(message); }

QString FailurePanel::message() const { return message_->text(); }

QSize FailurePanel::sizeHint() const {
    QSize hint = MaterialFrame::sizeHint();
    const int textWidth = message_->fontMetrics().horizontalAdvance(message_->text());
    hint.setWidth(std::clamp(textWidth + 2 * kPadding + 4, 240, kMaxWidth));
    return hint;
}

}  // namespace vantrel
