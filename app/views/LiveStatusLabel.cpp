#include "app/views/LiveStatusLabel.h"

namespace vantrel {

namespace {

constexpr int kLongestText = 80;  // characters of a failure shown in the bar

}  // namespace

QString liveStatusText(const LiveStatus& status) {
    switch (status.kind) {
        case LiveStatus::Kind::notWatching: return QStringLiteral("Not watching");
        case LiveStatus::Kind::upToDate: return QStringLiteral("Up to date");
        case LiveStatus::Kind::updating: return QStringLiteral("Updating\u2026");
        case LiveStatus::Kind::updated:
            return QStringLiteral("Updated ") + status.at.toLocalTime().time().toString(QStringLiteral("HH:mm:ss"));
        case LiveStatus::Kind::failed: {
            QString line = status.message.section(QLatin1Char('\n'), 0, 0);
            if (line.size() > kLongestText) line = line.left(kLongestText - 1) + QStringLiteral("\u2026");
            return line;
        }
    }
    return {};
}

QString liveStatusToolTip(const LiveStatus& status) {
    return status.kind == LiveStatus::Kind::failed ? status.message : QString();
}

LiveStatusLabel::LiveStatusLabel(ProjectStore& store, QWidget* parent) : QLabel(parent), store_(store) {
    setObjectName(QStringLiteral("liveStatus"));
    setForegroundRole(QPalette::PlaceholderText);  // secondary text, in light and dark
    setContentsMargins(6, 0, 6, 0);
    connect(&store_, &ProjectStore::liveStatusChanged, this, &LiveStatusLabel::refresh);
    connect(&store_, &ProjectStore::scanStateChanged, this, &LiveStatusLabel::refresh);
    refresh();
}

void LiveStatusLabel::refresh() {
    const LiveStatus& status = store_.liveStatus();
    setText(liveStatusText(status));
    setToolTip(liveStatusToolTip(status));
    setVisible(store_.scanState().kind == ScanState::Kind::ready);
}

}  // namespace vantrel
