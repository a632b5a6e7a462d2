// The header of the panels below the graph: a row with the panel's title, the name of the
// symbol it shows (giving way only to the buttons) and whatever the panel adds, and below
// it a line of detail (a summary, a status) that is cut at the end rather than widen the
// panel, so two panels fit side by side; and the small buttons such a row holds.
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
    ElidedLabel* detail = nullptr;
};

PanelHeader makePanelHeader(const QString& title, const char* nameObjectName, QWidget* parent);

QPushButton* makeHeaderButton(const QString& text, const char* objectName, QWidget* parent);

}  // namespace vantrel
