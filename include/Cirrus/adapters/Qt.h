#pragma once

/// For hosts with a Qt 6 event loop. Needs Qt's Core headers; the library itself does not.

#include <QCoreApplication>
#include <QMetaObject>
#include <QObject>

#include <memory>
#include <utility>

#include <Cirrus/MainQueue.h>

namespace cirrus {

/// Makes the application's event loop the main queue: every callback of the library runs on the
/// thread of the `QCoreApplication`, while its loop or a nested one runs. Call it once the
/// application object exists and before the first share job, from any thread.
///
/// Tasks that come after the loop has ended wait, as they do in the built-in queue.
inline void useQtEventLoop() {
    // Of its own, not the application: this one may be posted to after the application is gone.
    const std::shared_ptr<QObject> receiver(new QObject,
                                            [](QObject* object) { object->deleteLater(); });
    receiver->moveToThread(QCoreApplication::instance()->thread());
    MainQueue::setDispatcher([receiver](MainQueue::Task task) {
        QMetaObject::invokeMethod(receiver.get(), std::move(task), Qt::QueuedConnection);
    });
}

} // namespace cirrus
