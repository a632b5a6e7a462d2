#include "app/views/ScanningPreferencesTab.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QStyle>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>
#include <algorithm>

#include "app/state/Preferences.h"
#include "app/state/PreferencesManager.h"
#include "app/views/DeferredCall.h"
#include "app/views/Divider.h"
#include "app/views/PreferenceLists.h"
#include "app/views/SegmentedPicker.h"
#include "app/views/TextStyles.h"
#include "core/config/ExclusionPreview.h"

namespace vantrel {

namespace {

struct LanguageRow {
    const char* id;
    const char* name;
};
constexpr LanguageRow kJavaScript{"js-family", "JS/TS (TS/TSX/JS/JSX)"};
constexpr LanguageRow kPython{"python", "Python (.py)"};
constexpr int kConfirmationMs = 5000;

}  // namespace

ScanningPreferencesTab::ScanningPreferencesTab(ProjectCache cache, QWidget* parent)
    : QWidget(parent), cache_(std::move(cache)) {
    auto* column = new QVBoxLayout(this);
    column->setSpacing(12);

    column->addWidget(makeLabel(QStringLiteral("Global exclude patterns"), TextStyle::headline, false, this));
    auto* addRow = new QHBoxLayout;
    addRow->setSpacing(10);
    newExclude_ = new QLineEdit(this);
    newExclude_->setPlaceholderText(QStringLiteral("Add pattern (e.g. dist/** or **/dist/**)"));
    add_ = new QPushButton(QStringLiteral("Add"), this);
    addRow->addWidget(newExclude_, 1);
    addRow->addWidget(add_);
    column->addLayout(addRow);
    auto* help = makeLabel(QStringLiteral("Patterns match paths from the project folder; * also crosses folders. "
                                          "dist/** is the dist folder at the top level; **/dist/** needs a folder "
                                          "in front, so it matches web/dist but not the top-level dist."),
                           TextStyle::caption, true, this);
    help->setObjectName(QStringLiteral("excludeHelp"));
    help->setWordWrap(true);
    column->addWidget(help);
    preview_ = makeLabel({}, TextStyle::caption, false, this);
    preview_->setObjectName(QStringLiteral("excludePreview"));
    preview_->hide();
    column->addWidget(preview_);
    connect(newExclude_, &QLineEdit::textChanged, this, [this](const QString& text) {
        add_->setEnabled(!text.trimmed().isEmpty());
        refreshPreview();
    });
    connect(newExclude_, &QLineEdit::returnPressed, this, &ScanningPreferencesTab::addExclude);
    connect(add_, &QPushButton::clicked, this, &ScanningPreferencesTab::addExclude);
    add_->setEnabled(false);

    patterns_ = new QListWidget(this);
    patterns_->setSelectionMode(QAbstractItemView::NoSelection);
    patterns_->setFocusPolicy(Qt::NoFocus);
    column->addWidget(patterns_, 1);

    column->addWidget(makeDivider(Qt::Horizontal, this));
    column->addWidget(makeLabel(QStringLiteral("Enabled languages"), TextStyle::headline, false, this));
    auto* languages = new QVBoxLayout;
    languages->setSpacing(8);
    javascript_ = new QCheckBox(QString::fromUtf8(kJavaScript.name), this);
    python_ = new QCheckBox(QString::fromUtf8(kPython.name), this);
    for (auto [box, id] : {std::pair{javascript_, kJavaScript.id}, std::pair{python_, kPython.id}}) {
        languages->addWidget(box);
        connect(box, &QCheckBox::clicked, this, [this, id = std::string(id)](bool on) {
            setLanguageEnabled(id, on);
            reloadLanguages();
            emit preferenceChanged(QString::fromUtf8(prefkeys::kEnabledLanguageIdsJSON));
        });
    }
    column->addLayout(languages);

    column->addWidget(makeDivider(Qt::Horizontal, this));
    linking_ =
        new SegmentedPicker(QStringLiteral("Linking"), {QStringLiteral("By Name"), QStringLiteral("Precise")}, this);
    linking_->setToolTip(QStringLiteral(
        "By Name links plain calls f() by their name. Precise also follows this.m(), self.m(), x.m() with a known "
        "type, new C(), super and import aliases, and leaves out builtins. A project's vantrel.json \"linking\" "
        "key wins."));
    column->addWidget(linking_);
    connect(linking_, &SegmentedPicker::activated, this, [this](int index) {
        Preferences::setValue(QString::fromUtf8(prefkeys::kLinkingMode),
                              index == 1 ? QStringLiteral("precise") : QStringLiteral("names"));
        emit preferenceChanged(QString::fromUtf8(prefkeys::kLinkingMode));
    });

    column->addWidget(makeDivider(Qt::Horizontal, this));
    auto* cacheRow = new QHBoxLayout;
    auto* cacheText = new QVBoxLayout;
    cacheText->setSpacing(4);
    cacheText->addWidget(makeLabel(QStringLiteral("Cache location"), TextStyle::headline, false, this));
    cacheLocation_ = makeLabel({}, TextStyle::caption, true, this);
    cacheLocation_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    cacheText->addWidget(cacheLocation_);
    cacheRow->addLayout(cacheText, 1);
    auto* clear = new QPushButton(QStringLiteral("Clear Cache"), this);
    cacheRow->addWidget(clear, 0, Qt::AlignVCenter);
    column->addLayout(cacheRow);
    cacheCleared_ = makeLabel({}, TextStyle::caption, true, this);
    cacheCleared_->setObjectName(QStringLiteral("cacheCleared"));
    cacheText->addWidget(cacheCleared_);
    cacheCleared_->hide();
    // The next scan parses everything again; a line says the cache is empty now.
    connect(clear, &QPushButton::clicked, this, [this] {
        cache_.clearAll();
        cacheCleared_->setText(QStringLiteral("Cache cleared: the next scan reads every file again."));
        cacheCleared_->show();
        QTimer::singleShot(kConfirmationMs, cacheCleared_, &QWidget::hide);
    });

    reload();
}

void ScanningPreferencesTab::reload() {
    reloadPatterns();
    reloadLanguages();
    linking_->setCurrentIndex(PreferencesManager::linkingMode() == LinkingMode::precise ? 1 : 0);
    std::optional<std::string> root = cache_.cacheRootURL();
    cacheLocation_->setText(root ? QString::fromStdString(*root) : QStringLiteral("Unavailable"));
}

void ScanningPreferencesTab::setPreviewFiles(const QString& projectName, std::vector<std::string> files) {
    previewProject_ = projectName;
    previewFiles_ = std::move(files);
    refreshPreview();
}

void ScanningPreferencesTab::refreshPreview() {
    const std::string pattern = newExclude_->text().trimmed().toStdString();
    preview_->setVisible(!previewProject_.isEmpty() && !pattern.empty());
    if (!preview_->isVisibleTo(this)) return;
    const std::size_t excluded = countExcludedBy(previewFiles_, pattern);
    const qulonglong total = previewFiles_.size();
    preview_->setText(excluded == 0
                          ? QStringLiteral("Matches none of the %1 files in %2").arg(total).arg(previewProject_)
                          : QStringLiteral("Would exclude %1 of the %2 files in %3")
                                .arg(static_cast<qulonglong>(excluded))
                                .arg(total)
                                .arg(previewProject_));
}

void ScanningPreferencesTab::addExclude() {
    if (!addExcludePattern(newExclude_->text().toStdString())) return;
    newExclude_->clear();
    reloadPatterns();
    emit preferenceChanged(QString::fromUtf8(prefkeys::kGlobalExcludePatternsJSON));
}

void ScanningPreferencesTab::removeExclude(const QString& pattern) {
    removeExcludePattern(pattern.toStdString());
    reloadPatterns();
    emit preferenceChanged(QString::fromUtf8(prefkeys::kGlobalExcludePatternsJSON));
}

void ScanningPreferencesTab::reloadPatterns() {
    std::vector<std::string> stored = storedJSONList(prefkeys::kGlobalExcludePatternsJSON);
    std::sort(stored.begin(), stored.end());
    patterns_->clear();
    for (const std::string& pattern : stored) {
        const QString text = QString::fromStdString(pattern);
        auto* item = new QListWidgetItem(patterns_);
        item->setData(Qt::UserRole, text);
        auto* row = new QWidget(patterns_);
        auto* layout = new QHBoxLayout(row);
        layout->setContentsMargins(6, 0, 2, 0);
        layout->addWidget(new QLabel(text, row), 1);
        auto* trash = new QToolButton(row);
        trash->setIcon(style()->standardIcon(QStyle::SP_TrashIcon));
        trash->setAutoRaise(true);
        trash->setToolTip(QStringLiteral("Remove"));
        layout->addWidget(trash);
        // The row goes away with the list; it must not be deleted inside its own click.
        connect(trash, &QToolButton::clicked, this,
                [this, text] { postToNextTurn(this, [this, text] { removeExclude(text); }); });
        item->setSizeHint(row->sizeHint());
        patterns_->setItemWidget(item, row);
    }
}

void ScanningPreferencesTab::reloadLanguages() {
    std::vector<std::string> enabled = storedJSONList(prefkeys::kEnabledLanguageIdsJSON);
    auto contains = [&enabled](const char* id) {
        return std::find(enabled.begin(), enabled.end(), id) != enabled.end();
    };
    javascript_->setChecked(contains(kJavaScript.id));
    python_->setChecked(contains(kPython.id));
}

QStringList ScanningPreferencesTab::listedPatterns() const {
    QStringList listed;
    for (int i = 0; i < patterns_->count(); ++i) listed.append(patterns_->item(i)->data(Qt::UserRole).toString());
    return listed;
}

bool ScanningPreferencesTab::removeListed(const QString& pattern) {
    for (int i = 0; i < patterns_->count(); ++i) {
        if (patterns_->item(i)->data(Qt::UserRole).toString() != pattern) continue;
        if (auto* trash = patterns_->itemWidget(patterns_->item(i))->findChild<QToolButton*>()) {
            trash->click();
            return true;
        }
    }
    return false;
}

}  // namespace vantrel
