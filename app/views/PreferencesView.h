// The preferences window, 560 by 420: the tabs "General" (with the editor that Open in
// Editor uses), "Scanning" and "Appearance".
// Every control is bound to its preference key and stores a change at once, with no
// apply step; `preferenceChanged` then names the key, so that the window and the graph
// take appearance changes at once. The selected tab is itself a preference, so the
// window reopens on the tab last shown.
#pragma once

#include <QWidget>

#include "core/cache/ProjectCache.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QSlider;
class QTabWidget;

namespace vantrel {

class ScanningPreferencesTab;
class SegmentedPicker;
class Stepper;

class PreferencesView : public QWidget {
    Q_OBJECT

public:
    explicit PreferencesView(ProjectCache cache, QWidget* parent = nullptr);

    // Reloads every control, selects the stored tab and brings the window up.
    void showWindow();
    void reload();

    QTabWidget* tabs() const { return tabs_; }
    Stepper* defaultDepthStepper() const { return defaultDepth_; }
    ScanningPreferencesTab* scanningTab() const { return scanning_; }
    QSlider* edgeOpacitySlider() const { return edgeOpacity_; }
    QCheckBox* watchProjectBox() const { return watchProject_; }
    QString edgeOpacityText() const;

signals:
    void preferenceChanged(const QString& key);
    // The window was brought up (showWindow).
    void shown();

private:
    QWidget* buildGeneralTab();
    QWidget* buildAppearanceTab();
    void store(const char* key, const QVariant& value);
    void showEdgeOpacity(double value);

    QTabWidget* tabs_;
    Stepper* defaultDepth_;
    QComboBox* exportFormat_;
    QCheckBox* showOnboarding_;
    QCheckBox* restoreSession_;
    QCheckBox* watchProject_;
    QComboBox* editor_;
    QLineEdit* editorCommand_;
    ScanningPreferencesTab* scanning_;
    SegmentedPicker* nodeSize_;
    QLabel* edgeOpacityLabel_;
    QSlider* edgeOpacity_;
    SegmentedPicker* colorScheme_;
};

}  // namespace vantrel
