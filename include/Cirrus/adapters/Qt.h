#pragma once

/// For hosts with a Qt 6 event loop. Needs Qt's Core headers; the library itself does not.

#include <QCoreApplication>
#include <QEvent>
#include <QObject>

#include <memory>
#include <utility>

#include <Cirrus/MainQueue.h>

namespace cirrus {

namespace detail {

/// A task on its way through Qt's event queue. An event belongs to the queue from the moment it is
/// posted, so a task is also destroyed on the loop's thread; a functor given to
/// `QMetaObject::invokeMethod` can be destroyed by the thread that posted it.
class QtTaskEvent final : public QEvent {
public:
    explicit QtTaskEvent(MainQueue::Task task) : QEvent(QEvent::User), task_(std::move(task)) {}

    void run() const { task_(); }

private:
    MainQueue::Task task_;
};

class QtTaskReceiver final : public QObject {
public:
    bool event(QEvent* event) override {
        if (const auto* task = dynamic_cast<QtTaskEvent*>(event)) {
            task->run();
            return true;
        }
        return QObject::event(event);
    }
};

} // namespace detail

/// Makes the application's event loop the main queue: every callback of the library runs on the
/// thread of the `QCoreApplication`, while its loop or a nested one runs. Call it once the
/// application object exists and before the first share job, from any thread.
///
/// Tasks that come after the loop has ended wait, as they do in the built-in queue.
inline void useQtEventLoop() {
    // Of its own, not the application: this one may be posted to after the application is gone.
    const std::shared_ptr<QObject> receiver(new detail::QtTaskReceiver,
                                            [](QObject* object) { object->deleteLater(); });
    receiver->moveToThread(QCoreApplication::instance()->thread());
    MainQueue::setDispatcher([receiver](MainQueue::Task task) {
        QCoreApplication::postEvent(receiver.get(), new detail::QtTaskEvent(std::move(task)));
    });
}

} // namespace cirrus
