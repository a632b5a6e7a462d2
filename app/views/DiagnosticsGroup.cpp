#include "app/views/DiagnosticsGroup.h"

#include <QListView>
#include <QPainter>
#include <QPainterPath>
#include <QStyledItemDelegate>
#include <QToolButton>
#include <QVBoxLayout>

#include "app/views/Appearance.h"
#include "app/views/TextStyles.h"

namespace vantrel {

namespace {

constexpr int kCardPadding = 8;
constexpr int kLineSpacing = 2;
constexpr int kCardSpacing = 8;
constexpr int kMaxListHeight = 260;

class DiagnosticCardDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        const QPalette& palette = option.palette;
        QRectF card = QRectF(option.rect).adjusted(0, 0, 0, -kCardSpacing);
        QPainterPath outline;
        outline.addRoundedRect(card, 8, 8);
        painter->fillPath(outline, withOpacity(palette.color(QPalette::Text), 0.07));

        QRect text = card.toRect().adjusted(kCardPadding, kCardPadding, -kCardPadding, -kCardPadding);
        const QFont caption = textStyleFont(TextStyle::caption);
        const QFont caption2 = textStyleFont(TextStyle::caption2);
        auto line = [&](const QFont& font, const QColor& color, const QString& content, Qt::TextElideMode mode) {
            QFontMetrics metrics(font);
            painter->setFont(font);
            painter->setPen(color);
            painter->drawText(QRect(text.left(), text.top(), text.width(), metrics.height()),
                              Qt::AlignLeft | Qt::AlignVCenter, metrics.elidedText(content, mode, text.width()));
            text.setTop(text.top() + metrics.height() + kLineSpacing);
        };
        const QColor secondary = palette.color(QPalette::PlaceholderText);
        line(caption, palette.color(QPalette::Text), index.data(DiagnosticListModel::HeadlineRole).toString(),
             Qt::ElideRight);
        line(caption2, secondary, index.data(DiagnosticListModel::DetailRole).toString(), Qt::ElideRight);
        line(caption2, withOpacity(secondary, 0.8), index.data(DiagnosticListModel::ImporterRole).toString(),
             Qt::ElideMiddle);
        painter->restore();
    }

    QSize sizeHint(const QStyleOptionViewItem&, const QModelIndex&) const override {
        const int height = QFontMetrics(textStyleFont(TextStyle::caption)).height() +
                           2 * QFontMetrics(textStyleFont(TextStyle::caption2)).height() + 2 * kLineSpacing;
        return {160, height + 2 * kCardPadding + kCardSpacing};
    }
};

}  // namespace

void DiagnosticListModel::setDiagnostics(std::vector<ResolutionDiagnostic> diagnostics) {
    beginResetModel();
    diagnostics_ = std::move(diagnostics);
    endResetModel();
}

int DiagnosticListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(diagnostics_.size());
}

QVariant DiagnosticListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount()) return {};
    const ResolutionDiagnostic& diagnostic = diagnostics_[static_cast<std::size_t>(index.row())];
    switch (role) {
        case HeadlineRole:
            return QStringLiteral("Could not resolve `") + QString::fromStdString(diagnostic.importPath) + u'`';
        case DetailRole:
            return diagnostic.suggestion ? QString::fromStdString(*diagnostic.suggestion)
                                         : QString::fromUtf8(rawValue(diagnostic.reason));
        case ImporterRole: return QString::fromStdString(diagnostic.importerPath);
        case Qt::ToolTipRole:
            return data(index, HeadlineRole).toString() + u'\n' + data(index, DetailRole).toString() + u'\n' +
                   data(index, ImporterRole).toString();
        default: return {};
    }
}

DiagnosticsGroup::DiagnosticsGroup(QWidget* parent)
    : QWidget(parent),
      header_(new QToolButton(this)),
      list_(new QListView(this)),
      model_(new DiagnosticListModel(this)) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);
    header_->setCheckable(true);
    header_->setAutoRaise(true);
    header_->setArrowType(Qt::RightArrow);
    header_->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    list_->setModel(model_);
    list_->setItemDelegate(new DiagnosticCardDelegate(list_));
    list_->setUniformItemSizes(true);
    list_->setSelectionMode(QAbstractItemView::NoSelection);
    list_->setFocusPolicy(Qt::NoFocus);
    list_->setFrameShape(QFrame::NoFrame);
    list_->viewport()->setAutoFillBackground(false);
    list_->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    list_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    list_->setVisible(false);
    layout->addWidget(header_);
    layout->addWidget(list_);
    connect(header_, &QToolButton::toggled, this, &DiagnosticsGroup::setOpen);
}

void DiagnosticsGroup::setDiagnostics(std::vector<ResolutionDiagnostic> diagnostics) {
    model_->setDiagnostics(std::move(diagnostics));
    header_->setText(title());
    fitListHeight();
}

QString DiagnosticsGroup::title() const { return QStringLiteral("Diagnostics (%1)").arg(model_->rowCount()); }

bool DiagnosticsGroup::isOpen() const { return header_->isChecked(); }

void DiagnosticsGroup::setOpen(bool open) {
    header_->setChecked(open);
    header_->setArrowType(open ? Qt::DownArrow : Qt::RightArrow);
    list_->setVisible(open);
    fitListHeight();
}

void DiagnosticsGroup::fitListHeight() {
    const int rowHeight = list_->sizeHintForRow(0) > 0 ? list_->sizeHintForRow(0) : 0;
    list_->setFixedHeight(std::min(kMaxListHeight, rowHeight * model_->rowCount()));
}

}  // namespace vantrel
