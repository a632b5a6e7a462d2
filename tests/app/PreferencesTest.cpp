// The preferences layer and the recent list, over settings in a temporary folder.
#include <QSettings>
#include <QTest>

#include "app/state/Preferences.h"
#include "app/state/PreferencesManager.h"
#include "app/state/RecentProjectsManager.h"
#include "core/config/GlobalDefaults.h"
#include "tests/app/AppTestSupport.h"

using namespace vantrel;
using namespace vantrel::testing;

using StringList = std::vector<std::string>;
using OptionalStringList = std::optional<StringList>;
Q_DECLARE_METATYPE(OptionalStringList)

class PreferencesTest : public QObject {
    Q_OBJECT

private slots:
    void init() { clearSettings(); }

    void readsFallBackToDefaultsWithoutWritingThem() {
        QCOMPARE(PreferencesManager::globalConfig(), defaultGlobalConfig());
        QVERIFY(PreferencesManager::wantsOnboardingAtLaunch());
        QVERIFY(RecentProjectsManager::getRecents().isEmpty());
        QVERIFY(QSettings("Vantrel", "Vantrel").allKeys().isEmpty());

        // A non-Boolean stands for "on"; completing onboarding turns first launch off.
        Preferences::setValue(prefkeys::kShowOnboardingOnLaunch, QStringLiteral("maybe"));
        QVERIFY(PreferencesManager::wantsOnboardingAtLaunch());
        Preferences::setValue(prefkeys::kHasCompletedOnboarding, true);
        QVERIFY(!PreferencesManager::wantsOnboardingAtLaunch());
    }

    void dataKeysDecodeLeniently_data() {
        QTest::addColumn<QByteArray>("stored");
        QTest::addColumn<StringList>("excludes");
        QTest::addColumn<OptionalStringList>("languages");
        const StringList defaults = defaultGlobalExcludePatterns();
        QTest::newRow("empty array") << QByteArray("[]") << StringList{} << OptionalStringList();
        QTest::newRow("damaged") << QByteArray("[\"a\",") << defaults << OptionalStringList();
        QTest::newRow("not an array") << QByteArray("{\"a\":1}") << defaults << OptionalStringList();
        QTest::newRow("mixed elements") << QByteArray("[1, \"a\", null]") << StringList{"a"}
                                        << OptionalStringList(StringList{"a"});
    }

    void dataKeysDecodeLeniently() {
        QFETCH(QByteArray, stored);
        Preferences::setValue(prefkeys::kGlobalExcludePatternsJSON, stored);
        Preferences::setValue(prefkeys::kEnabledLanguageIdsJSON, stored);
        QTEST(PreferencesManager::globalExcludePatterns(), "excludes");
        QTEST(PreferencesManager::enabledLanguageIds(), "languages");
    }

    void defaultMaxDepthReadsZeroAsThreeThenClamps() {
        const std::pair<QVariant, std::int64_t> cases[] = {{99, 12}, {-1, 1}, {0, 3}, {QStringLiteral("deep"), 3}};
        for (const auto& [stored, depth] : cases) {
            Preferences::setValue(prefkeys::kDefaultMaxDepth, stored);
            QCOMPARE(PreferencesManager::defaultMaxDepth(), depth);
        }
    }

    void mergedConfigLaysProjectFileOverPreferences() {
        TempDir dir;
        QString root = QString::fromStdString(dir.path());
        Preferences::setValue(prefkeys::kGlobalExcludePatternsJSON, encodeJSON({"**/gen/**"}));
        Preferences::setValue(prefkeys::kDefaultMaxDepth, 5);
        QCOMPARE(PreferencesManager::mergedConfig(root), PreferencesManager::globalConfig());

        // An empty project list inherits; the project's depth is not limited.
        dir.write("vantrel.json", "{\"exclude\": [], \"maxDepth\": 40, \"enabledLanguages\": [\"python\"]}");
        VantrelConfig merged = PreferencesManager::mergedConfig(root);
        QCOMPARE(merged.exclude, StringList{"**/gen/**"});
        QCOMPARE(merged.maxDepth, std::int64_t{40});
        QCOMPARE(merged.enabledLanguages, OptionalStringList(StringList{"python"}));

        dir.write("vantrel.json", "{\"exclude\": [\"a/**\", \"b/**\", \"c/**\"], \"maxDepth\": 2}");
        merged = PreferencesManager::mergedConfig(root);
        QCOMPARE(merged.exclude, (StringList{"a/**", "b/**", "c/**"}));
        QCOMPARE(merged.enabledLanguages, PreferencesManager::enabledLanguageIds());
    }

    void recentListIsStandardisedBoundedAndMostRecentFirst() {
        for (int i = 0; i < 11; ++i) RecentProjectsManager::addRecent(QStringLiteral("/work/p%1").arg(i));
        QStringList recents = RecentProjectsManager::getRecents();
        QCOMPARE(recents.size(), 10);
        QCOMPARE(recents.front(), QStringLiteral("/work/p10"));
        QVERIFY(!recents.contains(QStringLiteral("/work/p0")));

        RecentProjectsManager::addRecent(QStringLiteral("/work/./other/../p5/"));
        recents = RecentProjectsManager::getRecents();
        QCOMPARE(recents.size(), 10);
        QCOMPARE(recents.front(), QStringLiteral("/work/p5"));
        QCOMPARE(recents.count(QStringLiteral("/work/p5")), 1);

        RecentProjectsManager::addRecent(QString());
        QCOMPARE(RecentProjectsManager::getRecents(), recents);
        RecentProjectsManager::clearRecents();
        QVERIFY(!QSettings("Vantrel", "Vantrel").contains(prefkeys::kRecentProjects));
    }
};

VANTREL_REGISTER_TEST_CLASS(PreferencesTest);
#include "PreferencesTest.moc"
