#include "app/views/PreferencesView.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QSignalBlocker>
#include <QSlider>
#include <QTabWidget>
#include <QVBoxLayout>
#include <array>
#include <cmath>
#include <string_view>

#include "app/state/Preferences.h"
#include "app/views/ScanningPreferencesTab.h"
#include "app/views/SegmentedPicker.h"
#include "app/views/Stepper.h"

namespace vantrel {

namespace {

// A picker's titles and the stored values they stand for, in display order.
struct Choice {
    const char* title;
    const char* value;
};
constexpr std::array<Choice, 3> kTabs{{{"General", "general"}, {"Scanning", "scanning"}, {"Appearance", "appearance"}}};
constexpr std::array<Choice, 4> kExportFormats{{{"JSON", "json"}, {"DOT", "dot"}, {"SVG", "svg"}, {"PNG", "png"}}};
constexpr std::array<Choice, 3> kNodeSizes{{{"Small", "small"}, {"Medium", "medium"}, {"Large", "large"}}};
constexpr std::array<Choice, 4> kEditors{{{"VS Code", "vscode"},
                                          {"Terminal editor ($VISUAL or $EDITOR)", "terminal"},
                                          {"Default application", "system"},
                                          {"Custom command", "custom"}}};
constexpr std::array<Choice, 3> kColorSchemes{{{"System", "system"}, {"Light", "light"}, {"Dark", "dark"}}};

// The slider works in thousandths.
constexpr int kOpacityMinimum = 300;
constexpr int kOpacityMaximum = 1000;

template <std::size_t N>
QStringList titlesOf(const std::array<Choice, N>& choices) {
    QStringList titles;
    for (const Choice& choice : choices) titles.append(QString::fromUtf8(choice.title));
    return titles;
}

// The index of the stored text among the choices; -1 for a value none stands for.
template <std::size_t N>
int indexOfStored(const std::array<Choice, N>& choices, const char* key) {
    const QString stored = Preferences::value(QString::fromUtf8(key)).toString();
    for (std::size_t i = 0; i < N; ++i)
        if (stored == QLatin1String(choices[i].value)) return static_cast<int>(i);
    return -1;
}

}  // namespace

PreferencesView::PreferencesView(ProjectCache cache, QWidget* parent) : QWidget(parent, Qt::Window) {
    setWindowTitle(QStringLiteral("Preferences"));
    setFixedSize(560, 420);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(14, 14, 14, 14);
    tabs_ = new QTabWidget(this);
    tabs_->addTab(buildGeneralTab(), QString::fromUtf8(kTabs[0].title));
    scanning_ = new ScanningPreferencesTab(std::move(cache), tabs_);
    tabs_->addTab(scanning_, QString::fromUtf8(kTabs[1].title));
    tabs_->addTab(buildAppearanceTab(), QString::fromUtf8(kTabs[2].title));
    layout->addWidget(tabs_);
    connect(scanning_, &ScanningPreferencesTab::preferenceChanged, this, &PreferencesView::preferenceChanged);
    connect(tabs_, &QTabWidget::currentChanged, this, [this](int index) {
        if (index >= 0 && index < static_cast<int>(kTabs.size()))
            store(prefkeys::kPreferencesSelectedTab, QString::fromUtf8(kTabs[static_cast<std::size_t>(index)].value));
    });
    reload();
}

QWidget* PreferencesView::buildGeneralTab() {
    auto* tab = new QWidget(this);
    auto* form = new QFormLayout(tab);
    form->setFieldGrowthPolicy(QFormLayout::FieldsStayAtSizeHint);
    defaultDepth_ = new Stepper(QStringLiteral("Default max depth: %1"), 1, 12, tab);
    form->addRow(defaultDepth_);
    connect(defaultDepth_, &Stepper::stepped, this, [this](int value) {
        defaultDepth_->setValue(value);
        store(prefkeys::kDefaultMaxDepth, value);
    });

    exportFormat_ = new QComboBox(tab);
    exportFormat_->addItems(titlesOf(kExportFormats));
    form->addRow(QStringLiteral("Default export format"), exportFormat_);
    connect(exportFormat_, &QComboBox::activated, this, [this](int index) {
        store(prefkeys::kDefaultExportFormat,
              QString::fromUtf8(kExportFormats.at(static_cast<std::size_t>(index)).value));
    });

    showOnboarding_ = new QCheckBox(QStringLiteral("Show onboarding on launch"), tab);
    form->addRow(showOnboarding_);
    connect(showOnboarding_, &QCheckBox::clicked, this,
            [this](bool on) { store(prefkeys::kShowOnboardingOnLaunch, on); });

    restoreSession_ = new QCheckBox(QStringLiteral("Reopen the last project and window layout at start"), tab);
    restoreSession_->setObjectName(QStringLiteral("restoreSession"));
    form->addRow(restoreSession_);
    connect(restoreSession_, &QCheckBox::clicked, this, [this](bool on) { store(prefkeys::kRestoreLastSession, on); });

    watchProject_ = new QCheckBox(QStringLiteral("Watch the project and update the graph as files are saved"), tab);
    watchProject_->setObjectName(QStringLiteral("watchProject"));
    form->addRow(watchProject_);
    connect(watchProject_, &QCheckBox::clicked, this, [this](bool on) { store(prefkeys::kWatchProject, on); });

    editor_ = new QComboBox(tab);
    editor_->setObjectName(QStringLiteral("editorPreset"));
    editor_->addItems(titlesOf(kEditors));
    form->addRow(QStringLiteral("Open in Editor with"), editor_);
    editorCommand_ = new QLineEdit(tab);
    editorCommand_->setObjectName(QStringLiteral("editorCommand"));
    editorCommand_->setMinimumWidth(300);
    editorCommand_->setPlaceholderText(QStringLiteral("editor --line {line} {file}"));
    editorCommand_->setToolTip(
        QStringLiteral("Words are split as a shell splits them; {file} and {line} are replaced "
                       "in each. No shell runs the command."));
    form->addRow(QStringLiteral("Command"), editorCommand_);
    connect(editor_, &QComboBox::activated, this, [this](int index) {
        store(prefkeys::kEditorPreset, QString::fromUtf8(kEditors.at(static_cast<std::size_t>(index)).value));
        editorCommand_->setEnabled(kEditors.at(static_cast<std::size_t>(index)).value == std::string_view("custom"));
    });
    connect(editorCommand_, &QLineEdit::textEdited, this,
            [this](const QString& text) { store(prefkeys::kEditorCommandTemplate, text); });
    return tab;
}

QWidget* PreferencesView::buildAppearanceTab() {
    auto* tab = new QWidget(this);
    auto* form = new QFormLayout(tab);
    nodeSize_ = new SegmentedPicker({}, titlesOf(kNodeSizes), tab);
    form->addRow(QStringLiteral("Graph node size"), nodeSize_);
    connect(nodeSize_, &SegmentedPicker::activated, this, [this](int index) {
        store(prefkeys::kGraphNodeSize, QString::fromUtf8(kNodeSizes.at(static_cast<std::size_t>(index)).value));
    });

    auto* opacity = new QWidget(tab);
    auto* opacityColumn = new QVBoxLayout(opacity);
    opacityColumn->setContentsMargins(0, 0, 0, 0);
    opacityColumn->setSpacing(8);
    edgeOpacityLabel_ = new QLabel(opacity);
    edgeOpacity_ = new QSlider(Qt::Horizontal, opacity);
    edgeOpacity_->setRange(kOpacityMinimum, kOpacityMaximum);
    opacityColumn->addWidget(edgeOpacityLabel_);
    opacityColumn->addWidget(edgeOpacity_);
    form->addRow(opacity);
    connect(edgeOpacity_, &QSlider::valueChanged, this, [this](int thousandths) {
        const double value = thousandths / 1000.0;
        showEdgeOpacity(value);
        store(prefkeys::kEdgeOpacity, value);
    });

    colorScheme_ = new SegmentedPicker({}, titlesOf(kColorSchemes), tab);
    form->addRow(QStringLiteral("Color scheme"), colorScheme_);
    connect(colorScheme_, &SegmentedPicker::activated, this, [this](int index) {
        store(prefkeys::kColorScheme, QString::fromUtf8(kColorSchemes.at(static_cast<std::size_t>(index)).value));
    });
    return tab;
}

void PreferencesView::showWindow() {
    reload();
    show();
    raise();
    activateWindow();
    emit shown();
}

void PreferencesView::reload() {
    const QSignalBlocker tabsBlocker(tabs_);
    tabs_->setCurrentIndex(std::max(0, indexOfStored(kTabs, prefkeys::kPreferencesSelectedTab)));
    defaultDepth_->setValue(
        static_cast<int>(Preferences::integerValue(QString::fromUtf8(prefkeys::kDefaultMaxDepth)).value_or(3)));
    exportFormat_->setCurrentIndex(indexOfStored(kExportFormats, prefkeys::kDefaultExportFormat));
    showOnboarding_->setChecked(
        Preferences::boolValue(QString::fromUtf8(prefkeys::kShowOnboardingOnLaunch)).value_or(true));
    restoreSession_->setChecked(
        Preferences::boolValue(QString::fromUtf8(prefkeys::kRestoreLastSession)).value_or(true));
    watchProject_->setChecked(Preferences::boolValue(QString::fromUtf8(prefkeys::kWatchProject)).value_or(true));
    const int editor = indexOfStored(kEditors, prefkeys::kEditorPreset);
    editor_->setCurrentIndex(editor);
    editorCommand_->setText(Preferences::value(QString::fromUtf8(prefkeys::kEditorCommandTemplate)).toString());
    editorCommand_->setEnabled(editor == static_cast<int>(kEditors.size()) - 1);
    scanning_->reload();
    nodeSize_->setCurrentIndex(indexOfStored(kNodeSizes, prefkeys::kGraphNodeSize));
    const double opacity = Preferences::value(QString::fromUtf8(prefkeys::kEdgeOpacity)).toDouble();
    {
        const QSignalBlocker sliderBlocker(edgeOpacity_);
        edgeOpacity_->setValue(static_cast<int>(std::lround(opacity * 1000)));
    }
    showEdgeOpacity(opacity);
    colorScheme_->setCurrentIndex(indexOfStored(kColorSchemes, prefkeys::kColorScheme));
}

QString PreferencesView::edgeOpacityText() const { return edgeOpacityLabel_->text(); }

void PreferencesView::store(const char* key, const QVariant& value) {
    const QString name = QString::fromUtf8(key);
    Preferences::setValue(name, value);
    emit preferenceChanged(name);
}

void PreferencesView::showEdgeOpacity(double value) {
    edgeOpacityLabel_->setText(QString::asprintf("Edge opacity: %.2f", value));
}

}  // namespace vantrel
