// The graph canvas: the whole project as nodes and curved edges, reorganised around the
// selected symbol (callers on rings by level, callees on a ring of their own, the rest
// outside). It reads everything from the store and changes the project only through
// the store's operations; pan, zoom, hover and the search text are its own.
//
// It shows one of two views (CanvasModes): all symbols, or only the selection's reach
// and callees by level ("Impact", the default for a project of more than 400 symbols).
//
// Mouse: a drag of 10 points or more pans, a click on a node selects it (on a group of
// the Impact view, shows its members), hovering shows a tooltip; a touchpad pinch,
// Ctrl+wheel and Ctrl+= / Ctrl+- zoom (0.3 to 3.0, about the centre), Ctrl+0 returns to 1.
// Keys: Up/Down to the first caller/callee, Right/Left through the members of a level
// (GraphWalks' LevelWalk), Tab/Shift+Tab through levels 1 to 3 and then out of the
// canvas, Space collapses the selection, Return resets pan and zoom, Escape closes the
// search or clears the selection, Ctrl+F opens the search, Ctrl+I switches the view.
#pragma once

#include <QElapsedTimer>
#include <QPointF>
#include <QTimer>
#include <QWidget>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "app/canvas/CanvasAnimation.h"
#include "app/canvas/CanvasModes.h"
#include "app/canvas/CanvasMotion.h"
#include "app/canvas/GraphPainter.h"
#include "app/canvas/GraphScene.h"
#include "app/canvas/GraphWalks.h"
#include "app/canvas/NodePicker.h"

class QAction;
class QNativeGestureEvent;

namespace vantrel {

class LegendPanel;
class ProjectStore;

class ImpactGraphView : public QWidget {
    Q_OBJECT

public:
    explicit ImpactGraphView(ProjectStore& store, QWidget* parent = nullptr);
    ~ImpactGraphView() override;

    // Ctrl+F, active anywhere in the canvas's window: opens the search. The window may put
    // this action in a menu; it should not bind Ctrl+F to anything else.
    QAction* findAction() const { return findAction_; }
    // "All symbols" and "Impact" for a toolbar, and Ctrl+I between them (active anywhere
    // in the canvas's window).
    CanvasModeActions* modeActions() const { return modes_; }
    CanvasMode mode() const { return modes_->mode(); }

    QPointF pan() const { return pan_; }
    double zoom() const { return zoom_; }
    std::optional<std::string> hoveredId() const { return hoveredId_; }
    // Where the node of `id` comes to rest, before pan and zoom; nothing if it is not drawn.
    std::optional<QPointF> placeOf(const std::string& id);
    // What the node of `id` is in the scene (selected, level, changed); nothing if it is not drawn.
    std::optional<NodeRole> roleOf(const std::string& id);
    LegendPanel* legend() const { return legend_; }
    // The id of the topmost node whose square holds `point` (widget coordinates).
    std::optional<std::string> nodeAt(QPointF point);

public slots:
    // Shows the search field in the legend and gives it the focus.
    void openSearch();
    // Springs pan and zoom back to where they started.
    void resetView();
    // Reads the edge opacity and node size preferences again. Done whenever the canvas's
    // window is activated; a settings window that changes them live calls it too.
    void refreshPreferences();
    void setMode(CanvasMode mode);

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void changeEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    // Store and scene.
    void connectStore();
    void sceneChanged();
    void selectionChanged();
    void ensureScene();
    void rebuildScene();
    const std::vector<QPointF>& nodePlacesNow();
    GraphFrame frameNow();

    // Interaction.
    void handleKey(QKeyEvent* event);
    void selectParent();
    void selectChild();
    void stepMember(int delta);
    bool stepLevel(int delta);
    void zoomTo(double zoom);
    void projectChanged();
    void selectFirstMatch();
    void closeSearch();
    void updateSearchHits();
    void setHovered(const std::optional<std::string>& id);
    bool pinch(QNativeGestureEvent* gesture);
    void applyZoom(double magnification);
    void stopViewReset();
    std::optional<std::size_t> symbolAt(QPointF point);

    // Animation.
    double now() const;
    void animate();
    bool isAnimating() const;

    ProjectStore& store_;
    LegendPanel* legend_;
    QAction* findAction_;
    GraphPainter painter_;

    std::shared_ptr<const GraphTopology> topology_;
    GraphScene scene_;
    bool topologyDirty_ = true;
    bool sceneDirty_ = true;
    std::optional<std::string> shownSelection_;  // the selection the pulse last started for

    // Presentation state.
    QPointF pan_, panAnchor_;
    double zoom_ = 1.0, zoomAnchor_ = 1.0;
    std::optional<std::string> hoveredId_;
    LevelWalk walk_;
    CanvasModeActions* modes_;
    bool modeChosen_ = false;  // by the user, for this project
    bool showsGraph_ = false;  // a graph of this project was shown: its live updates keep the view
    std::set<FocusedGroupKey> expandedGroups_;
    double edgeOpacity_ = 0.55;
    QString nodeSize_;
    std::vector<std::uint8_t> searchHits_;  // per symbol; empty while nothing is searched

    // Animations, on the clock_'s seconds.
    QElapsedTimer clock_;
    QTimer frameTimer_;
    CanvasAnimation animation_;

    // Pointer.
    NodePicker picker_;
    bool pickerDirty_ = true;  // places, pan, zoom or sizes moved since it was built
    QPointF pressPos_;
    std::optional<std::size_t> pressedNode_;
    bool pressed_ = false, dragging_ = false;
    bool pinching_ = false;
    double pinchMagnification_ = 1.0;
    bool tookFocusOnce_ = false;
};

}  // namespace vantrel
