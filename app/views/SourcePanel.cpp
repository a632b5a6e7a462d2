#include "app/views/SourcePanel.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QStackedWidget>
#include <QVBoxLayout>
#include <algorithm>

#include "app/views/DeferredCall.h"
#include "app/views/Divider.h"
#include "app/views/ElidedLabel.h"
#include "app/views/PanelHeader.h"
#include "app/views/SourceCodeView.h"
#include "app/views/TextStyles.h"
#include "core/source/SymbolSource.h"

namespace vantrel {

namespace {

// The name part of an id, for the text search: the graph's ids may name symbols it lacks.
std::string namePart(const std::string& id) {
    const std::vector<std::string_view> pieces = splitId(id);
    return std::string(pieces.size() >= 2 ? pieces[1] : std::string_view(id));
}

QString lineList(const std::vector<std::int64_t>& lines) {
    QStringList numbers;
    for (std::int64_t line : lines) numbers.append(QString::number(line));
    return (lines.size() == 1 ? QStringLiteral("line ") : QStringLiteral("lines ")) +
           numbers.join(QStringLiteral(", "));
}

}  // namespace

SourcePanel::SourcePanel(ProjectStore& store, QWidget* parent) : QWidget(parent), store_(store) {
    setWindowTitle(QStringLiteral("Source"));
    pool_.setMaxThreadCount(1);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(buildHeader());
    layout->addWidget(makeDivider(Qt::Horizontal, this));
    body_ = new QStackedWidget(this);
    message_ = makeLabel({}, TextStyle::callout, true, body_);
    message_->setObjectName(QStringLiteral("sourceMessage"));
    message_->setAlignment(Qt::AlignCenter);
    message_->setWordWrap(true);
    code_ = new SourceCodeView(body_);
    code_->setObjectName(QStringLiteral("sourceCode"));
    body_->addWidget(message_);
    body_->addWidget(code_);
    layout->addWidget(body_, 1);

    connect(code_, &SourceCodeView::lineActivated, this,
            [this](std::int64_t line) { emit openRequested(QString::fromStdString(shownId_), line); });
    connect(code_, &SourceCodeView::lineMenuRequested, this, [this](std::int64_t line, const QPoint& at) {
        emit symbolMenuRequested(QString::fromStdString(shownId_), line, at);
    });
    connect(open_, &QPushButton::clicked, this,
            [this] { emit openRequested(QString::fromStdString(shownId_), preferredLine()); });
    connect(&store_, &ProjectStore::selectedSymbolIdChanged, this, &SourcePanel::scheduleFollow);
    connect(&store_, &ProjectStore::irChanged, this, [this] {
        irChanged_ = true;
        scheduleFollow();
    });
    followSelection();
}

SourcePanel::~SourcePanel() = default;

QWidget* SourcePanel::buildHeader() {
    const PanelHeader made = makePanelHeader(QStringLiteral("Source"), "sourceName", this);
    QWidget* header = made.widget;
    QHBoxLayout* row = made.row;
    name_ = made.name;
    row->addStretch(1);
    detail_ = made.detail;
    detail_->setObjectName(QStringLiteral("sourceDetail"));
    open_ = makeHeaderButton(QStringLiteral("Open in Editor"), "openInEditorButton", header);
    open_->setToolTip(QStringLiteral("Open in Editor (Ctrl+Shift+O)"));
    row->addWidget(open_);
    return header;
}

// "file:line · what the highlights are", under the name.
void SourcePanel::showDetail(const QString& place, const QString& status) {
    place_ = place;
    status_ = status;
    detail_->setFullText(status.isEmpty() ? place : place + QStringLiteral(" \u00b7 ") + status);
}

std::int64_t SourcePanel::preferredLine() const {
    if (!loading_ && !code_->highlightedLines().empty()) return code_->highlightedLines().front();
    if (!store_.ir() || shownId_.empty()) return 0;
    auto symbol = store_.ir()->symbols.find(shownId_);
    return symbol == store_.ir()->symbols.end() ? 0 : symbol->second.range.startLine;
}

// The store writes the graph and the selection one after another; the panel follows
// once, after the last.
void SourcePanel::scheduleFollow() {
    if (followPending_) return;
    followPending_ = true;
    postToNextTurn(this, [this] { followSelection(); });
}

void SourcePanel::followSelection() {
    followPending_ = false;
    const OptionalSymbolId& selected = store_.selectedSymbolId();
    const bool reread = std::exchange(irChanged_, false);
    if (!store_.ir() || !selected) return display({}, {});
    // A caller chosen in the impact panel becomes the selection: its highlights stay.
    if (*selected == shownId_ && !reread) return;
    display(*selected, *selected == shownId_ ? focus_ : IdSet{});
}

void SourcePanel::showCaller(const std::string& callerId, const IdSet& callees) { display(callerId, callees); }

void SourcePanel::display(const std::string& id, const IdSet& focus) {
    ++generation_;
    shownId_ = id;
    focus_ = focus;
    open_->setEnabled(false);
    showDetail({}, {});
    const Symbol* symbol = nullptr;
    if (store_.ir() && !id.empty()) {
        auto found = store_.ir()->symbols.find(id);
        if (found != store_.ir()->symbols.end()) symbol = &found->second;
    }
    if (!symbol) {
        loading_ = false;
        name_->setFullText({});
        showMessage(id.empty() ? QStringLiteral("Select a symbol to see its code")
                               : QStringLiteral("No code for %1").arg(QString::fromStdString(id)));
        emit loaded();
        return;
    }
    name_->setFullText(QString::fromStdString(symbol->shortName()));
    showDetail(QString::fromStdString(symbol->fileRelPath()) + u':' + QString::number(symbol->range.startLine), {});
    std::vector<std::string> callees;
    for (const std::string& callee : symbol->refsOut) callees.push_back(namePart(callee));
    loading_ = true;
    pool_.start([this, generation = generation_, root = store_.projectRoot().toStdString(),
                 file = symbol->fileRelPath(), range = symbol->range, callees = std::move(callees)] {
        SymbolSource source = loadSymbolSource(root, file, range, callees);
        QMetaObject::invokeMethod(
            this, [this, generation, source = std::move(source)]() mutable { apply(generation, std::move(source)); },
            Qt::QueuedConnection);
    });
}

void SourcePanel::showMessage(const QString& message) {
    message_->setText(message);
    body_->setCurrentWidget(message_);
    code_->setSource({});
}

void SourcePanel::apply(std::uint64_t generation, SymbolSource source) {
    if (generation != generation_) return;  // a newer request is on its way
    loading_ = false;
    if (!source.error.empty()) {
        showMessage(QString::fromStdString(source.error));
        emit loaded();
        return;
    }
    std::vector<std::string> focusNames;
    for (const std::string& id : focus_) focusNames.push_back(namePart(id));
    std::vector<std::int64_t> highlighted;
    for (const auto& [line, names] : source.callsByLine)
        if (std::any_of(names.begin(), names.end(), [&](const std::string& name) {
                return std::find(focusNames.begin(), focusNames.end(), name) != focusNames.end();
            }))
            highlighted.push_back(line);
    QStringList notes;
    if (!focus_.empty()) {
        QStringList names;
        for (const std::string& name : focusNames) names.append(QString::fromStdString(name));
        names.removeDuplicates();
        names.sort();
        notes.append(
            highlighted.empty()
                ? QStringLiteral("No call to %1 found in the text").arg(names.join(QStringLiteral(", ")))
                : QStringLiteral("Calls %1 on %2").arg(names.join(QStringLiteral(", ")), lineList(highlighted)));
    }
    if (source.truncated)
        notes.append(QStringLiteral("first %1 lines").arg(static_cast<qlonglong>(source.text.lines.size())));
    showDetail(place_, notes.join(QStringLiteral(" \u00b7 ")));
    code_->setSource(std::move(source));
    code_->setHighlightedLines(std::move(highlighted));
    body_->setCurrentWidget(code_);
    open_->setEnabled(true);
    emit loaded();
}

}  // namespace vantrel
