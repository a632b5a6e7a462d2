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
constexpr double kMinPinchChange = 0.01;
constexpr double kHoverScale = 1.12;
constexpr double kHoverScaleSeconds = 0.14;
constexpr double kHoverFadeSeconds = 0.12;
constexpr double kPulseSeconds = 0.35;
constexpr double kLegendInset = 12;

double length(QPointF p) { return std::hypot(p.x(), p.y()); }

}  // namespace

ImpactGraphView::ImpactGraphView(ProjectStore& store, QWidget* parent)
    : QWidget(parent), store_(store), legend_(new LegendPanel(this)), findAction_(new QAction(tr("Find"), this)) {
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    setAttribute(Qt::WA_OpaquePaintEvent);

    findAction_->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_F));
    findAction_->setShortcutContext(Qt::WindowShortcut);
    addAction(findAction_);
    connect(findAction_, &QAction::triggered, this, &ImpactGraphView::openSearch);

    legend_->move(static_cast<int>(kLegendInset), static_cast<int>(kLegendInset));
    connect(legend_, &LegendPanel::searchSubmitted, this, &ImpactGraphView::selectFirstMatch);
    connect(legend_, &LegendPanel::searchCancelled, this, &ImpactGraphView::closeSearch);
    connect(legend_->searchField(), &QLineEdit::textChanged, this, &ImpactGraphView::updateSearchHits);

    clock_.start();
    frameTimer_.setInterval(16);
    connect(&frameTimer_, &QTimer::timeout, this, &ImpactGraphView::animate);

    connectStore();
    refreshPreferences();
    legend_->setVisible(store_.scanState().kind == ScanState::Kind::ready);
    legend_->setSelectedId(store_.selectedSymbolId());
    shownSelection_ = store_.selectedSymbolId();
}

ImpactGraphView::~ImpactGraphView() = default;

// ---- Store and scene ----

void ImpactGraphView::connectStore() {
    connect(&store_, &ProjectStore::irChanged, this, [this] {
        topologyDirty_ = true;
        sceneChanged();
    });
    for (auto changed : {&ProjectStore::nodePositionsChanged, &ProjectStore::impactLevelsChanged,
                         &ProjectStore::downstreamContextChanged, &ProjectStore::collapsedNodesChanged,
                         &ProjectStore::diffModeEnabledChanged, &ProjectStore::diffAddedEdgesChanged})
        connect(&store_, changed, this, &ImpactGraphView::sceneChanged);
    connect(&store_, &ProjectStore::selectedSymbolIdChanged, this, &ImpactGraphView::selectionChanged);
    connect(&store_, &ProjectStore::scanStateChanged, this, [this] {
        legend_->setVisible(store_.scanState().kind == ScanState::Kind::ready);
        update();
    });
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
        pulse_ = Tween{1.0, 0.0, now(), kPulseSeconds, easeOut};
        frameTimer_.start();
    }
    sceneChanged();
}

void ImpactGraphView::ensureScene() {
    if (topologyDirty_) {
        topologyDirty_ = false;
        topology_ = store_.ir() ? std::make_shared<const GraphTopology>(*store_.ir()) : nullptr;
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
    if (!before.isEmpty()) {
        beforePlaces = before.places();
        beforeVelocity.assign(beforePlaces.size(), QPointF());
        if (gliding_ && t < glideEnd_) {
            const Spring::Step step = kGlideSpring.stepAt(t - glideStart_);
            for (std::size_t i = 0; i < beforePlaces.size(); ++i) {
                beforePlaces[i] += step.offset(glideOffset_[i], glideVelocity_[i]);
                beforeVelocity[i] = step.velocity(glideOffset_[i], glideVelocity_[i]);
            }
        }
    }

    const SceneInputs inputs{store_.ir() ? &*store_.ir() : nullptr,
                             store_.nodePositions(),
                             store_.selectedSymbolId(),
                             store_.impactLevels(),
                             store_.downstreamContext(),
                             store_.collapsedNodes(),
                             store_.diffModeEnabled(),
                             store_.diffAddedEdges(),
                             edgeOpacity_,
                             QSizeF(size())};
    scene_ = GraphScene(topology_, inputs);

    gliding_ = false;
    glideOffset_.clear();
    glideVelocity_.clear();
    if (before.isEmpty() || scene_.isEmpty()) return;
    const GraphTopology& graph = scene_.topology();
    const bool sameGraph = before.topologyPointer() == scene_.topologyPointer();
    glideOffset_.assign(graph.pointCount(), QPointF());
    glideVelocity_.assign(graph.pointCount(), QPointF());
    double amplitude = 0;
    for (std::size_t i = 0; i < graph.symbolCount(); ++i) {
        if (!scene_.hasPlace(i)) continue;
        const std::optional<std::size_t> was =
            sameGraph ? std::optional<std::size_t>(i) : before.topology().indexOf(graph.id(i));
        if (!was || !before.hasPlace(*was)) continue;  // a new node appears in its place
        glideOffset_[i] = beforePlaces[*was] - scene_.place(i);
        glideVelocity_[i] = beforeVelocity[*was];
        amplitude =
            std::max(amplitude, length(glideOffset_[i]) + length(glideVelocity_[i]) / kGlideSpring.dampedFrequency());
    }
    if (amplitude > 0.01) {
        gliding_ = true;
        glideStart_ = t;
        glideEnd_ = t + kGlideSpring.settleTime(amplitude);
        frameTimer_.start();
    }
}

const std::vector<QPointF>& ImpactGraphView::nodePlacesNow() {
    const double t = now();
    if (!gliding_ || t >= glideEnd_) {
        gliding_ = false;
        return scene_.places();
    }
    const Spring::Step step = kGlideSpring.stepAt(t - glideStart_);
    const std::vector<QPointF>& targets = scene_.places();
    displayPlaces_.resize(targets.size());
    for (std::size_t i = 0; i < targets.size(); ++i)
        displayPlaces_[i] = targets[i] + step.offset(glideOffset_[i], glideVelocity_[i]);
    pickerDirty_ = true;
    return displayPlaces_;
}

GraphFrame ImpactGraphView::frameNow() {
    const double t = now();
    GraphFrame frame;
    frame.scene = &scene_;
    frame.transform = {pan_, zoom_, QPointF(width() / 2.0, height() / 2.0)};
    frame.viewSize = QSizeF(size());
    frame.nodePlaces = &nodePlacesNow();
    frame.selectionPulse = pulse_.valueAt(t);
    frame.nodeSizeFactor = nodeSizeFactor(nodeSize_);
    frame.searchHits = searchHits_.empty() ? nullptr : &searchHits_;
    if (scene_.isEmpty()) return frame;

    const GraphTopology& graph = scene_.topology();
    auto symbolIndex = [&](const std::string& id) -> std::optional<std::size_t> {
        auto point = graph.indexOf(id);
        return point && *point < graph.symbolCount() ? point : std::nullopt;
    };
    if (hoveredId_) frame.hovered = symbolIndex(*hoveredId_);
    for (const auto& [id, tween] : hoverScales_)
        if (const double scale = tween.valueAt(t); scale != 1.0)
            if (auto symbol = symbolIndex(id)) frame.scaled.emplace_back(*symbol, scale);

    const double opacity = tooltipOpacity_.valueAt(t);
    if (tooltipId_ && opacity > 0 && store_.ir()) {
        auto symbol = store_.ir()->symbols.find(*tooltipId_);
        auto point = symbolIndex(*tooltipId_);
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
    if (viewReset_) {
        const double t = now();
        if (t >= viewReset_->end) {
            pan_ = QPointF();
            zoom_ = 1.0;
            viewReset_.reset();
        } else {
            const Spring::Step step = kResetSpring.stepAt(t - viewReset_->start);
            pan_ = step.offset(viewReset_->panFrom, QPointF());
            zoom_ = 1.0 + step.offset(QPointF(viewReset_->zoomFrom - 1.0, 0), QPointF()).x();
        }
        pickerDirty_ = true;
    }
    for (auto it = hoverScales_.begin(); it != hoverScales_.end();)
        it = it->second.finishedAt(now()) && it->second.to == 1.0 ? hoverScales_.erase(it) : std::next(it);
    update();
}

bool ImpactGraphView::isAnimating() const {
    const double t = now();
    if (gliding_ || viewReset_ || !pulse_.finishedAt(t) || !tooltipOpacity_.finishedAt(t)) return true;
    return std::any_of(hoverScales_.begin(), hoverScales_.end(),
                       [&](const auto& entry) { return !entry.second.finishedAt(t); });
}

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
        // Tab walks the levels here instead of moving the focus.
        if ((key->key() == Qt::Key_Tab || key->key() == Qt::Key_Backtab) && !(key->modifiers() & Qt::ControlModifier)) {
            handleKey(key);
            return true;
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
        case GraphKeyAction::previousSibling: cycleSibling(-1); break;
        case GraphKeyAction::nextSibling: cycleSibling(1); break;
        case GraphKeyAction::cycleLevel: cycleBlastRadiusLevel(); break;
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

void ImpactGraphView::cycleSibling(int delta) {
    const auto& selected = store_.selectedSymbolId();
    const auto step = siblingStep(sibling_, delta, selected, store_.impactLevel(selected.value_or(std::string())),
                                  store_.impactLevels());
    if (!step) return;
    sibling_ = step->cursor;
    if (step->select) store_.select(*step->select);
}

void ImpactGraphView::cycleBlastRadiusLevel() {
    const WalkStep step = nextBlastRadiusLevel(sibling_, store_.config().maxDepth, store_.impactLevels());
    sibling_ = step.cursor;
    if (step.select) store_.select(*step.select);
}

void ImpactGraphView::resetView() {
    panAnchor_ = QPointF();
    zoomAnchor_ = 1.0;
    const double amplitude = std::max(length(pan_), std::abs(zoom_ - 1.0) * 1000);
    if (amplitude < 0.01) return;
    const double t = now();
    viewReset_ = ViewReset{pan_, zoom_, t, t + kResetSpring.settleTime(amplitude)};
    frameTimer_.start();
}

void ImpactGraphView::stopViewReset() {
    if (!viewReset_) return;
    viewReset_.reset();
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
        pickerDirty_ = gliding_;
    }
    return picker_.nodeAt(frame, point);
}

std::optional<std::string> ImpactGraphView::nodeAt(QPointF point) {
    if (auto symbol = symbolAt(point)) return scene_.topology().id(*symbol);
    return std::nullopt;
}

void ImpactGraphView::setHovered(const std::optional<std::string>& id) {
    if (id == hoveredId_) return;
    const double t = now();
    auto scaleTo = [&](const std::string& of, double target) {
        auto it = hoverScales_.find(of);
        const double current = it == hoverScales_.end() ? 1.0 : it->second.valueAt(t);
        hoverScales_[of] = Tween{current, target, t, kHoverScaleSeconds, easeInOut};
    };
    if (hoveredId_) scaleTo(*hoveredId_, 1.0);
    if (id) scaleTo(*id, kHoverScale);
    hoveredId_ = id;
    const double opacity = tooltipOpacity_.valueAt(t);
    if (id) tooltipId_ = id;
    tooltipOpacity_ = Tween{opacity, id ? 1.0 : 0.0, t, kHoverFadeSeconds, easeInOut};
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
    if (pressedNode_ && symbolAt(event->position()) == pressedNode_) store_.select(scene_.topology().id(*pressedNode_));
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
