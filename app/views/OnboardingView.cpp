#include "app/views/OnboardingView.h"

#include <QGraphicsDropShadowEffect>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>

#include "app/views/MaterialFrame.h"
#include "app/views/TextStyles.h"

namespace vantrel {

namespace {

constexpr int kCardMaxWidth = 520;
constexpr int kEdgeDistance = 20;
constexpr int kCardPadding = 18;

// A tip: a small decorative glyph in a frame 18 wide, one point down, then the text.
QWidget* tipRow(const QString& title, QWidget* parent) {
    auto* row = new QWidget(parent);
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(10);
    QLabel* glyph = makeLabel(QStringLiteral("\u2726"), TextStyle::body, true, row);
    glyph->setFixedWidth(18);
    glyph->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
    glyph->setContentsMargins(0, 1, 0, 0);
    QLabel* text = makeLabel(title, TextStyle::body, false, row);
    text->setWordWrap(true);
    layout->addWidget(glyph, 0, Qt::AlignTop);
    layout->addWidget(text, 1, Qt::AlignTop);
    return row;
}

}  // namespace

OnboardingView::OnboardingView(std::function<void()> onGotIt, QWidget* parent)
    : QWidget(parent), onGotIt_(std::move(onGotIt)) {
    setFocusPolicy(Qt::StrongFocus);
    card_ = new MaterialFrame(Material::regular, 14, this);
    card_->setBorder(MaterialFrame::Border{QPalette::Text, 0.08, 1, false});
    auto* shadow = new QGraphicsDropShadowEffect(card_);
    shadow->setColor(QColor(0, 0, 0, 84));  // black at 0.33
    shadow->setBlurRadius(18);
    shadow->setOffset(0, 8);
    card_->setGraphicsEffect(shadow);

    auto* column = new QVBoxLayout(card_);
    column->setContentsMargins(kCardPadding, kCardPadding, kCardPadding, kCardPadding);
    column->setSpacing(14);
    QLabel* title = makeLabel(QStringLiteral("Welcome to Vantrel"), TextStyle::title2, false, card_);
    applyTextStyle(title, TextStyle::title2, true);
    column->addWidget(title);

    auto* tipColumn = new QVBoxLayout;
    tipColumn->setSpacing(10);
    for (const QString& tip : tips()) tipColumn->addWidget(tipRow(tip, card_));
    column->addLayout(tipColumn);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    gotIt_ = new QPushButton(QStringLiteral("Got it"), card_);
    gotIt_->setDefault(true);  // drawn as the default; Return presses it
    buttons->addWidget(gotIt_);
    column->addLayout(buttons);
    connect(gotIt_, &QPushButton::clicked, this, [this] {
        if (onGotIt_) onGotIt_();
    });
}

QStringList OnboardingView::tips() {
    return {QStringLiteral("Click any symbol to see its blast radius"),
            QStringLiteral("Red = selected, Orange = 1st level, Yellow = 2nd, Green = 3rd"),
            // The shortcuts as this platform writes them.
            QStringLiteral("Use Ctrl+F to search, Ctrl+O to open your project"),
            QStringLiteral("Check the Diagnostics panel for unresolved imports")};
}

QRect OnboardingView::cardGeometry() const { return card_->geometry(); }

void OnboardingView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), QColor(0, 0, 0, 46));  // black at 0.18
}

void OnboardingView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    arrangeCard();
}

void OnboardingView::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
        case Qt::Key_Return:
        case Qt::Key_Enter: gotIt_->click(); return;
        case Qt::Key_Escape: return;  // the card stays until "Got it"
        default: QWidget::keyPressEvent(event);
    }
}

void OnboardingView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    arrangeCard();
    gotIt_->setFocus();
}

void OnboardingView::arrangeCard() {
    const int width = std::max(0, std::min(kCardMaxWidth, this->width() - 2 * kEdgeDistance));
    const int height = card_->hasHeightForWidth() ? card_->heightForWidth(width) : card_->sizeHint().height();
    const int top = std::max(kEdgeDistance, (this->height() - height) / 2);
    card_->setGeometry((this->width() - width) / 2, top, width, height);
}

}  // namespace vantrel
