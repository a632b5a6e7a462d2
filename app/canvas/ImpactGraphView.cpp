#include "app/canvas/ImpactGraphView.h"

#include <QAction>
#include <QKeyEvent>
#include <QLineF>
#include <QMouseEvent>
#include <QNativeGestureEvent>
#include <QPainter>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>
#include <tuple>

#include "app/canvas/CanvasTooltip.h"
#include "app/canvas/LegendPanel.h"
#include "app/state/Preferences.h"
#include "app/state/ProjectStore.h"
#include "app/state/SymbolFilter.h"

namespace vantrel {

namespace {

constexpr double kDragThreshold = 10;
constexpr double kMinZoom = 0.3, kMaxZoom = 3.0;
constexpr double kWheelZoomPerNotch = 1.1;  // Ctrl+wheel: one notch of 120 units
constexpr double kKeyZoomStep = 1.25;       // Ctrl+= and Ctrl+-
constexpr double kMinPinchChange = 0.01;
constexpr double kLegendInset = 12;

}  // namespace

ImpactGraphView::ImpactGraphView(ProjectStore& store, QWidget* parent)
    : QWidget(parent),
      store_(store),
      legend_(new LegendPanel(this)),
      findAction_(new QAction(tr("Find"), this)),
      modes_(new CanvasModeActions(this)) {
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    setAttribute(Qt::WA_OpaquePaintEvent);

    findAction_->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_F));
    findAction_->setShortcutContext(Qt::WindowShortcut);
    addAction(findAction_);
    connect(findAction_, &QAction::triggered, this, &ImpactGraphView::openSearch);
    addAction(modes_->toggle());
    connect(modes_, &CanvasModeActions::chosen, this, [this](CanvasMode mode) {
        modeChosen_ = true;
        setMode(mode);
    });

    legend_->move(static_cast<int>(kLegendInset), static_cast<int>(kLegendInset));
    connect(legend_, &LegendPanel::searchSubmitted, this, &ImpactGraphView::selectFirstMatch);
    connect(legend_, &LegendPanel::searchCancelled, this, &ImpactGraphView::closeSearch);
    connect(legend_->searchField(), &QLineEdit::textChanged, this, &ImpactGraphView::updateSearchHits);

    clock_.start();
    frameTimer_.setInterval(16);
    connect(&frameTimer_, &QTimer::timeout, this, &ImpactGraphView::animate);

    connectStore();
    projectChanged();
    refreshPreferences();
    legend_->setVisible(store_.scanState().kind == ScanState::Kind::ready);
    legend_->setSelectedId(store_.selectedSymbolId());
    legend_->setChangesShown(store_.workingChangesMode());
    shownSelection_ = store_.selectedSymbolId();
}

ImpactGraphView::~ImpactGraphView() = default;

// ---- Store and scene ----

void ImpactGraphView::connectStore() {
    connect(&store_, &ProjectStore::irChanged, this, [this] {
        topologyDirty_ = true;
        // Only a project's first graph picks the view; a live update of it keeps the one shown.
        if (!showsGraph_) projectChanged();
        showsGraph_ = store_.ir().has_value();
        sceneChanged();
    });
    // The baseline's removed calls are edges of the topology.
    connect(&store_, &ProjectStore::diffResultChanged, this, [this] {
        topologyDirty_ = true;
        sceneChanged();
    });
    // Another project: its size picks the view again until the user picks one.
    connect(&store_, &ProjectStore::projectRootChanged, this, [this] { modeChosen_ = false; });
    for (auto changed : {&ProjectStore::nodePositionsChanged, &ProjectStore::impactLevelsChanged,
                         &ProjectStore::downstreamContextChanged, &ProjectStore::collapsedNodesChanged,
                         &ProjectStore::diffModeEnabledChanged, &ProjectStore::diffAddedEdgesChanged,
                         &ProjectStore::workingChangedIdsChanged})
        connect(&store_, changed, this, &ImpactGraphView::sceneChanged);
    // The legend names the changed symbols' mark while the mode is on.
    connect(&store_, &ProjectStore::workingChangesModeChanged, this, [this] {
        legend_->setChangesShown(store_.workingChangesMode());
        sceneChanged();
    });
    connect(&store_, &ProjectStore::selectedSymbolIdChanged, this, &ImpactGraphView::selectionChanged);
    connect(&store_, &ProjectStore::scanStateChanged, this, [this] {
        legend_->setVisible(store_.scanState().kind == ScanState::Kind::ready);
        update();
    });
}

void ImpactGraphView::projectChanged() {
    if (!modeChosen_ && store_.ir()) setMode(defaultCanvasMode(store_.ir()->symbols.size()));
}

void ImpactGraphView::setMode(CanvasMode mode) {
    modes_->show(mode);
    sceneChanged();
}

void ImpactGraphView::sceneChanged() {
    sceneDirty_ = true;
    pickerDirty_ = true;
    update();
}

void ImpactGraphView::selectionChanged() {
    legend_->setSelectedId(store_.selectedSymbolId());
    // The store reports every write; only a different selection swells the node.
    if (store_.selectedSymbolId() != shownSelection_) {
        shownSelection_ = store_.selectedSymbolId();
        expandedGroups_.clear();  // groups belong to the reach they were opened in
        animation_.startPulse(now());
        frameTimer_.start();
    }
    sceneChanged();
}

void ImpactGraphView::ensureScene() {
    if (topologyDirty_) {
        topologyDirty_ = false;
        const OptionalDiffResult& diff = store_.diffResult();
        topology_ = store_.ir() ? std::make_shared<const GraphTopology>(
                                      *store_.ir(), diff ? diff->removedEdges : std::vector<ProjectDiffResult::Edge>{})
                                : nullptr;
        sceneDirty_ = true;
        updateSearchHits();
    }
    if (sceneDirty_) rebuildScene();
}

void ImpactGraphView::rebuildScene() {
    sceneDirty_ = false;
    pickerDirty_ = true;
    // Where the nodes stand and how fast they move right now, so that a new glide takes
    // over from the running one.
    const double t = now();
    const GraphScene before = std::move(scene_);
    std::vector<QPointF> beforePlaces, beforeVelocity;
    if (!before.isEmpty()) std::tie(beforePlaces, beforeVelocity) = animation_.motionAt(before, t);

    const SceneInputs inputs{store_.ir() ? &*store_.ir() : nullptr,
                             store_.nodePositions(),
                             store_.selectedSymbolId(),
                             store_.impactLevels(),
                             store_.downstreamContext(),
                             store_.collapsedNodes(),
                             store_.diffModeEnabled(),
                             store_.diffAddedEdges(),
                             edgeOpacity_,
                             QSizeF(size()),
                             modes_->mode() == CanvasMode::impact ? &expandedGroups_ : nullptr,
                             legend_->isVisible() ? legend_->geometry().bottom() + kLegendInset : 0.0,
                             store_.workingChangesMode() ? &store_.workingChangedIds() : nullptr};
    scene_ = GraphScene(topology_, inputs);

    if (animation_.glide(before, beforePlaces, beforeVelocity, scene_, t)) frameTimer_.start();
}

const std::vector<QPointF>& ImpactGraphView::nodePlacesNow() {
    const bool wasGliding = animation_.isGliding();
    const std::vector<QPointF>& places = animation_.placesAt(scene_, now());
    if (wasGliding && animation_.isGliding()) pickerDirty_ = true;
    return places;
}

GraphFrame ImpactGraphView::frameNow() {
    const double t = now();
    GraphFrame frame;
    frame.scene = &scene_;
    frame.transform = {pan_, zoom_, QPointF(width() / 2.0, height() / 2.0)};
    frame.viewSize = QSizeF(size());
    frame.nodePlaces = &nodePlacesNow();
    frame.selectionPulse = animation_.pulseAt(t);
    frame.nodeSizeFactor = nodeSizeFactor(nodeSize_);
    frame.searchHits = searchHits_.empty() ? nullptr : &searchHits_;
    if (scene_.isEmpty()) return frame;

    const GraphTopology& graph = scene_.topology();
    auto symbolIndex = [&](const std::string& id) -> std::optional<std::size_t> {
        auto point = graph.indexOf(id);
        return point && *point < graph.symbolCount() ? point : std::nullopt;
    };
    if (hoveredId_) frame.hovered = symbolIndex(*hoveredId_);
    for (const auto& [id, scale] : animation_.scalesAt(t))
        if (auto symbol = symbolIndex(id)) frame.scaled.emplace_back(*symbol, scale);

    const double opacity = animation_.tooltipOpacityAt(t);
    const std::optional<std::string>& tooltipId = animation_.tooltipId();
    if (tooltipId && opacity > 0 && store_.ir()) {
        auto symbol = store_.ir()->symbols.find(*tooltipId);
        auto point = symbolIndex(*tooltipId);
        if (symbol != store_.ir()->symbols.end() && point && scene_.hasPlace(*point)) {
            const bool selected = scene_.selectedPoint() == point;
            frame.tooltip = TooltipFrame{tooltipText(symbol->second), frame.transform.toScreen(scene_.place(*point)),
                                         nodeRadius(selected, nodeSize_), opacity};
        }
    }
    return frame;
}

// ---- Painting and animation ----

void ImpactGraphView::paintEvent(QPaintEvent*) {
    ensureScene();
    QPainter painter(this);
    painter_.paint(painter, frameNow(), CanvasPalette(palette()));
    if (!isAnimating()) frameTimer_.stop();
}

double ImpactGraphView::now() const { return clock_.nsecsElapsed() / 1e9; }

void ImpactGraphView::animate() {
    const double t = now();
    if (animation_.isResettingView()) {
        std::tie(pan_, zoom_) = animation_.viewAt(t);
        pickerDirty_ = true;
    }
    animation_.pruneHoverScales(t);
    update();
}

bool ImpactGraphView::isAnimating() const { return animation_.isAnimatingAt(now()); }

void ImpactGraphView::resizeEvent(QResizeEvent* event) {
    legend_->setMaximumPanelWidth(std::max(0, width() - 2 * static_cast<int>(kLegendInset)));
    sceneChanged();
    QWidget::resizeEvent(event);
}

void ImpactGraphView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    refreshPreferences();
    // Like a key view attached to its window: take the keyboard unless another control
    // already holds it.
    if (!tookFocusOnce_ && window()->focusWidget() == nullptr) setFocus(Qt::OtherFocusReason);
    tookFocusOnce_ = true;
}

void ImpactGraphView::changeEvent(QEvent* event) {
    switch (event->type()) {
        case QEvent::PaletteChange:
        case QEvent::FontChange:
        case QEvent::StyleChange:
            painter_.invalidate();
            pickerDirty_ = true;
            update();
            break;
        case QEvent::ActivationChange: refreshPreferences(); break;  // back from the settings window
        default: break;
    }
    QWidget::changeEvent(event);
}

void ImpactGraphView::refreshPreferences() {
    bool ok = false;
    double opacity = Preferences::value(prefkeys::kEdgeOpacity).toDouble(&ok);
    if (!ok) opacity = 0.55;
    const QString size = Preferences::value(prefkeys::kGraphNodeSize).toString();
    if (opacity == edgeOpacity_ && size == nodeSize_) return;
    edgeOpacity_ = opacity;
    nodeSize_ = size;
    sceneChanged();
}

// ---- Keyboard ----

bool ImpactGraphView::event(QEvent* event) {
    if (event->type() == QEvent::KeyPress) {
        auto* key = static_cast<QKeyEvent*>(event);
        // Tab walks the levels here, and moves the focus on only after the last of them.
        const GraphKeyAction action = graphKeyAction(key->key(), key->modifiers());
        if (action == GraphKeyAction::nextLevel || action == GraphKeyAction::previousLevel) {
            if (legend_->searchField()->hasFocus() || stepLevel(action == GraphKeyAction::nextLevel ? 1 : -1))
                return true;
            return QWidget::event(event);
        }
    }
    if (event->type() == QEvent::NativeGesture && pinch(static_cast<QNativeGestureEvent*>(event))) return true;
    return QWidget::event(event);
}

// The touchpad's pinch: a running magnification from 1, which counts once it has
// changed the scale by 0.01, applied to the zoom the pinch started from.
bool ImpactGraphView::pinch(QNativeGestureEvent* gesture) {
    switch (gesture->gestureType()) {
        case Qt::BeginNativeGesture:
            stopViewReset();
            pinchMagnification_ = 1.0;
            pinching_ = false;
            return true;
        case Qt::ZoomNativeGesture:
            stopViewReset();
            pinchMagnification_ *= 1.0 + gesture->value();
            if (pinching_ || std::abs(pinchMagnification_ - 1.0) >= kMinPinchChange) {
                pinching_ = true;
                applyZoom(pinchMagnification_);
            }
            return true;
        case Qt::EndNativeGesture:
            zoomAnchor_ = zoom_;
            pinching_ = false;
            pinchMagnification_ = 1.0;
            return true;
        default: return false;
    }
}

void ImpactGraphView::keyPressEvent(QKeyEvent* event) { handleKey(event); }

void ImpactGraphView::handleKey(QKeyEvent* event) {
    // Keys typed into the search field are the field's, also those it has no use for.
    if (legend_->searchField()->hasFocus()) {
        event->ignore();
        return;
    }
    event->accept();
    switch (graphKeyAction(event->key(), event->modifiers())) {
        case GraphKeyAction::selectParent: selectParent(); break;
        case GraphKeyAction::selectChild: selectChild(); break;
        case GraphKeyAction::previousSibling: stepMember(-1); break;
        case GraphKeyAction::nextSibling: stepMember(1); break;
        case GraphKeyAction::nextLevel:
        case GraphKeyAction::previousLevel: break;  // in event(), before the focus moves
        case GraphKeyAction::zoomIn: zoomTo(zoom_ * kKeyZoomStep); break;
        case GraphKeyAction::zoomOut: zoomTo(zoom_ / kKeyZoomStep); break;
        case GraphKeyAction::zoomActual: zoomTo(1.0); break;
        case GraphKeyAction::toggleCollapsed: store_.toggleCollapsedSelected(); break;
        case GraphKeyAction::resetView: resetView(); break;
        case GraphKeyAction::escape:
            if (legend_->isSearchVisible()) closeSearch();
            else store_.clearSelection();
            break;
        case GraphKeyAction::none: event->ignore(); break;
    }
}

void ImpactGraphView::selectParent() {
    if (!store_.ir()) return;
    if (auto id = parentOf(*store_.ir(), store_.selectedSymbolId())) store_.select(*id);
}

void ImpactGraphView::selectChild() {
    if (!store_.ir()) return;
    if (auto id = childOf(*store_.ir(), store_.selectedSymbolId())) store_.select(*id);
}

void ImpactGraphView::stepMember(int delta) {
    if (auto id = walk_.stepMember(delta, store_.selectedSymbolId(), store_.impactLevels())) store_.select(*id);
}

bool ImpactGraphView::stepLevel(int delta) {
    auto id = walk_.stepLevel(delta, store_.selectedSymbolId(), store_.impactLevels(), store_.config().maxDepth);
    if (id) store_.select(*id);
    return id.has_value();
}

void ImpactGraphView::zoomTo(double zoom) {
    stopViewReset();
    zoomAnchor_ = 1.0;
    applyZoom(zoom);
    zoomAnchor_ = zoom_;
}

void ImpactGraphView::resetView() {
    panAnchor_ = QPointF();
    zoomAnchor_ = 1.0;
    if (animation_.resetView(pan_, zoom_, now())) frameTimer_.start();
}

void ImpactGraphView::stopViewReset() {
    if (!animation_.isResettingView()) return;
    animation_.stopViewReset();
    panAnchor_ = pan_;
    zoomAnchor_ = zoom_;
}

// ---- Search ----

void ImpactGraphView::openSearch() {
    legend_->setSearchVisible(true);
    legend_->searchField()->setFocus(Qt::ShortcutFocusReason);
}

void ImpactGraphView::closeSearch() {
    legend_->setSearchVisible(false);
    legend_->searchField()->clear();
    setFocus(Qt::OtherFocusReason);
}

void ImpactGraphView::updateSearchHits() {
    const SymbolTextQuery query(legend_->searchField()->text());
    searchHits_.clear();
    if (!query.isEmpty() && topology_) {
        searchHits_.resize(topology_->symbolCount());
        for (std::size_t i = 0; i < searchHits_.size(); ++i) searchHits_[i] = query.matches(topology_->id(i));
    }
    update();
}

void ImpactGraphView::selectFirstMatch() {
    const SymbolTextQuery query(legend_->searchField()->text());
    if (!store_.ir() || query.isEmpty()) return;
    for (const auto& entry : store_.ir()->symbols)
        if (query.matches(entry.first)) return store_.select(entry.first);
}

// ---- Pointer ----

std::optional<std::size_t> ImpactGraphView::symbolAt(QPointF point) {
    ensureScene();
    if (scene_.isEmpty()) return std::nullopt;
    const GraphFrame frame = frameNow();
    if (pickerDirty_) {
        picker_ = NodePicker(frame, painter_.captionLineHeight());
        pickerDirty_ = animation_.isGliding();
    }
    return picker_.nodeAt(frame, point);
}

std::optional<QPointF> ImpactGraphView::placeOf(const std::string& id) {
    ensureScene();
    if (scene_.isEmpty()) return std::nullopt;
    auto point = scene_.topology().indexOf(id);
    if (!point || !scene_.hasPlace(*point)) return std::nullopt;
    return scene_.place(*point);
}

std::optional<NodeRole> ImpactGraphView::roleOf(const std::string& id) {
    ensureScene();
    if (scene_.isEmpty()) return std::nullopt;
    auto point = scene_.topology().indexOf(id);
    if (!point || !scene_.hasPlace(*point)) return std::nullopt;
    return scene_.role(*point);
}

std::optional<std::string> ImpactGraphView::nodeAt(QPointF point) {
    if (auto symbol = symbolAt(point)) return scene_.topology().id(*symbol);
    return std::nullopt;
}

void ImpactGraphView::setHovered(const std::optional<std::string>& id) {
    if (id == hoveredId_) return;
    animation_.hover(hoveredId_, id, now());
    hoveredId_ = id;
    frameTimer_.start();
    update();
}

void ImpactGraphView::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) return QWidget::mousePressEvent(event);
    stopViewReset();
    pressed_ = true;
    dragging_ = false;
    pressPos_ = event->position();
    pressedNode_ = symbolAt(pressPos_);
}

void ImpactGraphView::mouseMoveEvent(QMouseEvent* event) {
    const QPointF at = event->position();
    if (pressed_ && (event->buttons() & Qt::LeftButton)) {
        if (!dragging_ && QLineF(pressPos_, at).length() >= kDragThreshold) dragging_ = true;
        if (dragging_) {
            pan_ = panAnchor_ + (at - pressPos_);
            pickerDirty_ = true;
            update();
        }
        return;
    }
    auto symbol = symbolAt(at);
    setHovered(symbol ? std::optional<std::string>(scene_.topology().id(*symbol)) : std::nullopt);
}

void ImpactGraphView::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || !pressed_) return QWidget::mouseReleaseEvent(event);
    pressed_ = false;
    if (dragging_) {
        dragging_ = false;
        panAnchor_ = pan_;
        return;
    }
    if (!pressedNode_ || symbolAt(event->position()) != pressedNode_) return;
    if (const SceneGroup* group = scene_.groupAt(*pressedNode_)) {
        expandedGroups_.insert(group->key);
        sceneChanged();
        return;
    }
    store_.select(scene_.topology().id(*pressedNode_));
}

void ImpactGraphView::leaveEvent(QEvent* event) {
    if (!dragging_) setHovered(std::nullopt);
    QWidget::leaveEvent(event);
}

void ImpactGraphView::wheelEvent(QWheelEvent* event) {
    // A plain wheel does not zoom; Ctrl+wheel is this platform's pinch, one complete
    // pinch per wheel event.
    if (!(event->modifiers() & Qt::ControlModifier)) return event->ignore();
    const QPoint delta = event->angleDelta();
    const double notches = (delta.y() != 0 ? delta.y() : delta.x()) / 120.0;
    stopViewReset();
    applyZoom(std::pow(kWheelZoomPerNotch, notches));
    zoomAnchor_ = zoom_;
    event->accept();
}

void ImpactGraphView::applyZoom(double magnification) {
    zoom_ = std::clamp(zoomAnchor_ * magnification, kMinZoom, kMaxZoom);
    pickerDirty_ = true;
    update();
}

}  // namespace vantrel
