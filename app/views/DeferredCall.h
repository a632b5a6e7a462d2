// Runs a change on the next turn of the event loop, so that a control never writes to
// the store while the views are still reacting to the store's last change.
#pragma once

#include <QMetaObject>
#include <QObject>
#include <utility>

namespace vantrel {

template <typename Function>
void postToNextTurn(QObject* context, Function&& function) {
    QMetaObject::invokeMethod(context, std::forward<Function>(function), Qt::QueuedConnection);
}

}  // namespace vantrel
