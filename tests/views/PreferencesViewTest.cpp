// The preferences window over settings and a cache in temporary folders: each control
// stores its key at once, in the form the preferences layer reads back.
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QSlider>
#include <QTabWidget>
#include <QTest>
#include <memory>

#include "app/state/Preferences.h"
#include "app/state/PreferencesManager.h"
#include "app/views/PreferencesView.h"
#include "app/views/ScanningPreferencesTab.h"
#include "app/views/SegmentedPicker.h"
#include "app/views/Stepper.h"
#include "tests/app/AppTestSupport.h"

using namespace vantrel;
using namespace vantrel::testing;

namespace {

QByteArray storedData(const char* key) { return Preferences::dataValue(key).value_or(QByteArray("<none>")); }

// A label whose text is `text`, or holds it with `part`.
bool hasLabel(const QWidget* parent, const QString& text, bool part = false) {
    for (const QLabel* label : parent->findChildren<QLabel*>())
        if (part ? label->text().contains(text) : label->text() == text) return true;
    return false;
}

}  // namespace

class PreferencesViewTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        clearSettings();
        dir_ = std::make_unique<TempDir>();
        view_ = std::make_unique<PreferencesView>(ProjectCache(dir_->path()));
    }

    void cleanup() {
        view_.reset();
        dir_.reset();
    }

    // The editor of Open in Editor: the command field is for the custom preset only, and
    // what is typed is stored as written.
    void editorPresetAndCommandStoreAtOnce() {
        auto* preset = view_->findChild<QComboBox*>(QStringLiteral("editorPreset"));
        auto* command = view_->findChild<QLineEdit*>(QStringLiteral("editorCommand"));
        QVERIFY(preset && command);
        QCOMPARE(preset->currentText(), QStringLiteral("Default application"));
        QVERIFY(!command->isEnabled());
        QCOMPARE(command->text(), QStringLiteral("code -g {file}:{line}"));

        QSignalSpy changed(view_.get(), &PreferencesView::preferenceChanged);
        view_->show();
        preset->setFocus();
        QTest::keyClick(preset, Qt::Key_Down);  // to "Custom command", the last
        QCOMPARE(Preferences::value(prefkeys::kEditorPreset).toString(), QStringLiteral("custom"));
        QVERIFY(command->isEnabled());
        command->clear();
        QTest::keyClicks(command, "kate -l {line} {file}");
        QCOMPARE(Preferences::value(prefkeys::kEditorCommandTemplate).toString(),
                 QStringLiteral("kate -l {line} {file}"));
        QCOMPARE(changed.first().first().toString(), QStringLiteral("editorPreset"));

        view_->reload();
        QCOMPARE(preset->currentText(), QStringLiteral("Custom command"));
        QCOMPARE(command->text(), QStringLiteral("kate -l {line} {file}"));
    }

    void excludePatternsAreTrimmedSortedAndUnique() {
        ScanningPreferencesTab* tab = view_->scanningTab();
        QLineEdit* field = tab->patternField();
        QTest::keyClicks(field, "   ");
        QVERIFY(!tab->addButton()->isEnabled());

        field->setText(QStringLiteral("  **/dist/**\t"));
        QVERIFY(tab->addButton()->isEnabled());
        tab->addButton()->click();
        QVERIFY(field->text().isEmpty());
        QCOMPARE(storedData(prefkeys::kGlobalExcludePatternsJSON),
                 QByteArray("[\"**/.git/**\",\"**/__pycache__/**\",\"**/dist/**\",\"**/node_modules/**\"]"));
        QCOMPARE(tab->listedPatterns(),
                 (QStringList{"**/.git/**", "**/__pycache__/**", "**/dist/**", "**/node_modules/**"}));

        field->setText(QStringLiteral("**/dist/**"));
        QTest::keyClick(field, Qt::Key_Return);
        QVERIFY(field->text().isEmpty());
        QCOMPARE(tab->listedPatterns().count(QStringLiteral("**/dist/**")), 1);

        // Removing every pattern leaves an empty list, and no default comes back.
        field->setText(QStringLiteral("kept in the field"));
        for (const QString& pattern : tab->listedPatterns()) {
            QVERIFY(tab->removeListed(pattern));
            settle();
        }
        QCOMPARE(field->text(), QStringLiteral("kept in the field"));
        QCOMPARE(storedData(prefkeys::kGlobalExcludePatternsJSON), QByteArray("[]"));
        QVERIFY(tab->listedPatterns().isEmpty());
        QVERIFY(PreferencesManager::globalExcludePatterns().empty());
    }

    void bothLanguagesOffStoresAnEmptyList() {
        QList<QCheckBox*> switches = view_->scanningTab()->findChildren<QCheckBox*>();
        QCOMPARE(switches.size(), 2);
        QVERIFY(switches[0]->isChecked() && switches[1]->isChecked());
        switches[0]->click();
        QCOMPARE(storedData(prefkeys::kEnabledLanguageIdsJSON), QByteArray("[\"python\"]"));
        switches[1]->click();
        QCOMPARE(storedData(prefkeys::kEnabledLanguageIdsJSON), QByteArray("[]"));
        QVERIFY(!switches[0]->isChecked() && !switches[1]->isChecked());
        QVERIFY(!PreferencesManager::enabledLanguageIds());  // the next scan takes every language
        switches[1]->click();
        QCOMPARE(storedData(prefkeys::kEnabledLanguageIdsJSON), QByteArray("[\"python\"]"));

        // Data that is not an array shows both languages off here.
        Preferences::setValue(prefkeys::kEnabledLanguageIdsJSON, QByteArray("{\"python\": 1}"));
        view_->reload();
        QVERIFY(!switches[0]->isChecked() && !switches[1]->isChecked());
    }

    void watchingIsOnUntilTurnedOff() {
        QSignalSpy changes(view_.get(), &PreferencesView::preferenceChanged);
        QCheckBox* watch = view_->watchProjectBox();
        QCOMPARE(watch->text(), QStringLiteral("Watch the project and update the graph as files are saved"));
        QVERIFY(watch->isChecked());
        view_->show();
        QTest::mouseClick(watch, Qt::LeftButton, {}, QPoint(8, watch->height() / 2));
        QCOMPARE(Preferences::boolValue(prefkeys::kWatchProject), std::optional<bool>(false));
        QCOMPARE(changes.size(), 1);
        QCOMPARE(changes.front().front().toString(), QStringLiteral("watchProject"));
        view_->reload();
        QVERIFY(!watch->isChecked());
    }

    void controlsStoreAtOnceWithinTheirLimits() {
        QSignalSpy changes(view_.get(), &PreferencesView::preferenceChanged);
        QCOMPARE(view_->edgeOpacityText(), QStringLiteral("Edge opacity: 0.55"));
        view_->edgeOpacitySlider()->setValue(view_->edgeOpacitySlider()->minimum());
        QCOMPARE(Preferences::value(prefkeys::kEdgeOpacity).toDouble(), 0.3);
        QCOMPARE(view_->edgeOpacityText(), QStringLiteral("Edge opacity: 0.30"));
        view_->edgeOpacitySlider()->setValue(view_->edgeOpacitySlider()->maximum() + 50);
        QCOMPARE(Preferences::value(prefkeys::kEdgeOpacity).toDouble(), 1.0);

        Stepper* depth = view_->defaultDepthStepper();
        for (int i = 0; i < 15; ++i) depth->stepUp();
        QCOMPARE(Preferences::integerValue(prefkeys::kDefaultMaxDepth), std::optional<std::int64_t>(12));
        for (int i = 0; i < 15; ++i) depth->stepDown();
        QCOMPARE(Preferences::integerValue(prefkeys::kDefaultMaxDepth), std::optional<std::int64_t>(1));
        QCOMPARE(depth->text(), QStringLiteral("Default max depth: 1"));

        // The colour scheme is announced, so the window can follow it at once.
        auto pickers = view_->findChildren<SegmentedPicker*>();
        QCOMPARE(pickers.size(), 3);
        SegmentedPicker* linking = view_->scanningTab()->linkingPicker();
        QVERIFY(pickers.removeOne(linking));

        // The linking mode goes into the next scan's settings; "By Name" is the absent key.
        changes.clear();
        linking->segment(1)->click();
        QCOMPARE(Preferences::value(prefkeys::kLinkingMode).toString(), QStringLiteral("precise"));
        QCOMPARE(PreferencesManager::globalConfig().linking, std::optional<LinkingMode>(LinkingMode::precise));
        QCOMPARE(changes.size(), 1);
        QCOMPARE(changes.front().front().toString(), QStringLiteral("linkingMode"));
        linking->segment(0)->click();
        QCOMPARE(PreferencesManager::globalConfig().linking, std::optional<LinkingMode>());

        changes.clear();
        pickers[1]->segment(2)->click();
        QCOMPARE(Preferences::value(prefkeys::kColorScheme).toString(), QStringLiteral("dark"));
        QCOMPARE(changes.size(), 1);
        QCOMPARE(changes.front().front().toString(), QStringLiteral("colorScheme"));

        // The window reopens on the tab last shown.
        view_->tabs()->setCurrentIndex(2);
        QCOMPARE(Preferences::value(prefkeys::kPreferencesSelectedTab).toString(), QStringLiteral("appearance"));
        Preferences::setValue(prefkeys::kPreferencesSelectedTab, QStringLiteral("scanning"));
        view_->showWindow();
        QCOMPARE(view_->tabs()->currentIndex(), 1);
        QCOMPARE(view_->size(), QSize(560, 420));
    }

    void cacheSectionNamesAndClearsTheCache() {
        const ProjectCache cache(dir_->path());
        const QString root = QString::fromStdString(*cache.cacheRootURL());
        QVERIFY(hasLabel(view_->scanningTab(), root));
        dir_->write("Vantrel/cache/v2/somehash/meta.json", "{}");
        for (QPushButton* button : view_->scanningTab()->findChildren<QPushButton*>())
            if (button->text() == QStringLiteral("Clear Cache")) button->click();
        QVERIFY(!QDir(root + "/somehash").exists());
        QVERIFY(view_->scanningTab()->cacheClearedLabel()->isVisibleTo(view_->scanningTab()));
        QVERIFY(view_->scanningTab()->cacheClearedLabel()->text().startsWith(QStringLiteral("Cache cleared")));

        PreferencesView unavailable{ProjectCache(std::nullopt)};
        QVERIFY(hasLabel(unavailable.scanningTab(), QStringLiteral("Unavailable")));
    }

    // While a pattern is typed, the tab says how much of the open project it would take.
    void aTypedPatternCountsTheProjectFilesItWouldExclude() {
        ScanningPreferencesTab* tab = view_->scanningTab();
        view_->show();
        QLabel* preview = tab->previewLabel();
        QTest::keyClicks(tab->patternField(), QStringLiteral("dist/**"));
        QVERIFY(!preview->isVisibleTo(tab));  // no project open

        tab->setPreviewFiles(QStringLiteral("shop"), {"dist/a.js", "dist/b/c.js", "src/dist.ts", "web/dist/d.ts"});
        QVERIFY(preview->isVisibleTo(tab));
        QCOMPARE(preview->text(), QStringLiteral("Would exclude 2 of the 4 files in shop"));
        tab->patternField()->clear();
        QVERIFY(!preview->isVisibleTo(tab));
        QTest::keyClicks(tab->patternField(), QStringLiteral("**/dist/**"));
        QCOMPARE(preview->text(), QStringLiteral("Would exclude 1 of the 4 files in shop"));
        QTest::keyClicks(tab->patternField(), QStringLiteral("x"));
        QCOMPARE(preview->text(), QStringLiteral("Matches none of the 4 files in shop"));
        QVERIFY(hasLabel(tab, QStringLiteral("**/dist/** needs a folder in front"), true));
    }

private:
    std::unique_ptr<TempDir> dir_;
    std::unique_ptr<PreferencesView> view_;
};

VANTREL_REGISTER_TEST_CLASS(PreferencesViewTest);
#include "PreferencesViewTest.moc"
