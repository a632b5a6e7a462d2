// The panel at the canvas's top left: the selected id, the colour and shape keys (with
// the changed symbols' ring while the Working Changes mode is on), and, while the search
// is open, the search field.
#pragma once

#include <QLineEdit>
#include <QWidget>
#include <optional>
#include <string>

namespace vantrel {

class LegendPanel : public QWidget {
    Q_OBJECT

public:
    explicit LegendPanel(QWidget* parent);

    void setSelectedId(const std::optional<std::string>& id);
    // The panel never grows wider than this; the id is shortened in the middle to fit.
    void setMaximumPanelWidth(int width);
    void setSearchVisible(bool visible);
    void setChangesShown(bool shown);
    bool changesShown() const { return changesShown_; }
    bool isSearchVisible() const { return searchVisible_; }
    QLineEdit* searchField() const { return search_; }

signals:
    // Return in the search field.
    void searchSubmitted();
    // Escape in the search field.
    void searchCancelled();

protected:
    void paintEvent(QPaintEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void relayout();
    QString titleText() const;

    QLineEdit* search_;
    std::optional<std::string> selectedId_;
    bool searchVisible_ = false;
    bool changesShown_ = false;
    int maximumWidth_ = 10000;
};

}  // namespace vantrel
