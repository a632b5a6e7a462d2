// A segmented picker: a caption and a row of joined, mutually exclusive segments.
// `activated` fires for the user's choice only, never for setCurrentIndex.
#pragma once

#include <QStringList>
#include <QWidget>

class QButtonGroup;
class QAbstractButton;

namespace vantrel {

class SegmentedPicker : public QWidget {
    Q_OBJECT

public:
    // An empty caption shows the segments alone.
    SegmentedPicker(const QString& caption, const QStringList& segments, QWidget* parent = nullptr);

    void setCurrentIndex(int index);
    int currentIndex() const;
    QAbstractButton* segment(int index) const;

signals:
    void activated(int index);

private:
    QButtonGroup* group_;
};

}  // namespace vantrel
