// The one place that makes the graph area of the main window.
#pragma once

class QWidget;

namespace vantrel {

class ProjectStore;

QWidget* makeGraphView(ProjectStore& store, QWidget* parent);

}  // namespace vantrel
