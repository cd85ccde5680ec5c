#pragma once

/// For hosts with a Qt 6 event loop. Needs Qt's Core headers; the library itself does not.

#include <QCoreApplication>
#include <QEvent>
#include <QObject>
#include <QString>
#include <QUrl>

#include <filesystem>
#include <memory>
#include <string>
#include <utility>

#include <Cirrus/MainQueue.h>
#include <Cirrus/Url.h>

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

/// A path as Qt's file dialogs give it.
inline std::filesystem::path toPath(const QString& path) {
    const QByteArray text = path.toUtf8();
    return {std::u8string(text.begin(), text.end())};
}

/// The path of a local file, as drag and drop gives it; empty if the URL names something else.
inline std::filesystem::path toPath(const QUrl& file) {
    return toPath(file.toLocalFile());
}

/// The path of a failed file, say, to be shown.
inline QString toQString(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

/// The link of a share.
inline QUrl toQUrl(const Url& url) {
    return QUrl::fromEncoded(QByteArray::fromStdString(url.text()));
}

} // namespace cirrus
