// The header row of the panels below the graph: the panel's title, the name of the
// symbol it shows (giving way only to the buttons), then whatever the panel adds to the
// row, with the panels' margins; and the small buttons such a row holds.
#pragma once

#include <QString>

class QHBoxLayout;
class QPushButton;
class QWidget;

namespace vantrel {

class ElidedLabel;

struct PanelHeader {
    QWidget* widget = nullptr;
    QHBoxLayout* row = nullptr;
    ElidedLabel* name = nullptr;
};

PanelHeader makePanelHeader(const QString& title, const char* nameObjectName, QWidget* parent);

QPushButton* makeHeaderButton(const QString& text, const char* objectName, QWidget* parent);

}  // namespace vantrel
