#include "app/views/FailurePanel.h"

#include <QHBoxLayout>
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
    title_ = makeLabel(QStringLiteral("Scan failed"), TextStyle::headline, false, this);
    column->addWidget(title_, 0, Qt::AlignHCenter);
    message_ = makeLabel({}, TextStyle::callout, true, this);
    message_->setWordWrap(true);
    message_->setAlignment(Qt::AlignHCenter);
    message_->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    message_->setTextFormat(Qt::PlainText);
    column->addWidget(message_);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    exclude_ = new QPushButton(QStringLiteral("Exclude This File and Rescan"), this);
    exclude_->setObjectName(QStringLiteral("excludeFailedFile"));
    exclude_->hide();
    buttons->addWidget(exclude_);
    auto* reset = new QPushButton(QStringLiteral("Reset"), this);
    reset->setObjectName(QStringLiteral("resetButton"));
    buttons->addWidget(reset);
    buttons->addStretch(1);
    column->addLayout(buttons);
    connect(reset, &QPushButton::clicked, this, &FailurePanel::resetRequested);
    connect(exclude_, &QPushButton::clicked, this, [this] { emit excludeFileRequested(file_); });
    setMaximumWidth(kMaxWidth);
}

void FailurePanel::setFailure(const QString& title, const QString& message, const QString& file) {
    title_->setText(title);
    message_->setText(message);
    file_ = file;
    exclude_->setVisible(!file.isEmpty());
}

QString FailurePanel::title() const { return title_->text(); }

QString FailurePanel::message() const { return message_->text(); }

QSize FailurePanel::sizeHint() const {
    QSize hint = MaterialFrame::sizeHint();
    const int textWidth = message_->fontMetrics().horizontalAdvance(message_->text());
    hint.setWidth(std::clamp(textWidth + 2 * kPadding + 4, 240, kMaxWidth));
    return hint;
}

}  // namespace vantrel
