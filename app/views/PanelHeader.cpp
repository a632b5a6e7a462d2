#include "app/views/PanelHeader.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/views/ElidedLabel.h"
#include "app/views/TextStyles.h"

namespace vantrel {

namespace {
constexpr int kPadding = 12;
}  // namespace

PanelHeader makePanelHeader(const QString& title, const char* nameObjectName, QWidget* parent) {
    PanelHeader header;
    header.widget = new QWidget(parent);
    auto* lines = new QVBoxLayout(header.widget);
    lines->setContentsMargins(kPadding, 8, kPadding, 6);
    lines->setSpacing(2);
    header.row = new QHBoxLayout;
    header.row->setSpacing(10);
    lines->addLayout(header.row);
    header.row->addWidget(makeLabel(title, TextStyle::headline, false, header.widget));
    header.name = new ElidedLabel(Qt::ElideMiddle, header.widget);
    header.name->setObjectName(QString::fromLatin1(nameObjectName));
    applyTextStyle(header.name, TextStyle::body, true);
    header.name->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Preferred);
    header.row->addWidget(header.name, 0);
    header.detail = new ElidedLabel(Qt::ElideRight, header.widget);
    applyTextStyle(header.detail, TextStyle::callout);
    makeSecondary(header.detail);
    lines->addWidget(header.detail);
    return header;
}

QPushButton* makeHeaderButton(const QString& text, const char* objectName, QWidget* parent) {
    auto* button = new QPushButton(text, parent);
    button->setObjectName(QString::fromLatin1(objectName));
    applyTextStyle(button, TextStyle::caption);
    return button;
}

}  // namespace vantrel
