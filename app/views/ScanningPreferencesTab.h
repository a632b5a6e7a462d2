// The "Scanning" tab of the preferences: the global exclude patterns with add and
// remove (with help on how they match, and, while one is typed, how many of the open
// project's files it would exclude), the language switches, the linking mode, and the
// cache's location with "Clear Cache", confirmed by a line. Each change is stored at once and counts from the next
// scan; a project's own file wins over the languages and the linking mode.
#pragma once

#include <QWidget>
#include <string>
#include <vector>

#include "core/cache/ProjectCache.h"

class QCheckBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;

namespace vantrel {

class SegmentedPicker;

class ScanningPreferencesTab : public QWidget {
    Q_OBJECT

public:
    explicit ScanningPreferencesTab(ProjectCache cache, QWidget* parent = nullptr);

    // Controls from the stored values.
    void reload();

    // The patterns as listed, in order.
    QStringList listedPatterns() const;
    QLineEdit* patternField() const { return newExclude_; }
    QPushButton* addButton() const { return add_; }
    SegmentedPicker* linkingPicker() const { return linking_; }
    // Presses the trash button of a listed pattern; false when it is not listed.
    bool removeListed(const QString& pattern);
    // The open project's files as a scan takes them now, for the count shown under the
    // pattern field while a pattern is typed; an empty name hides the count.
    void setPreviewFiles(const QString& projectName, std::vector<std::string> files);
    QLabel* previewLabel() const { return preview_; }
    QLabel* cacheClearedLabel() const { return cacheCleared_; }

signals:
    void preferenceChanged(const QString& key);

private:
    void addExclude();
    void removeExclude(const QString& pattern);
    void reloadPatterns();
    void reloadLanguages();
    void refreshPreview();

    ProjectCache cache_;
    QLineEdit* newExclude_;
    QPushButton* add_;
    QListWidget* patterns_;
    QCheckBox* javascript_;
    QCheckBox* python_;
    SegmentedPicker* linking_;
    QLabel* cacheLocation_;
    QLabel* preview_;
    QLabel* cacheCleared_;
    QString previewProject_;
    std::vector<std::string> previewFiles_;
};

}  // namespace vantrel
