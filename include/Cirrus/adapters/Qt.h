#pragma once

// For hosts with a Qt 6 event loop. Needs Qt's Core headers; the library itself does not.

#include <QCoreApplication>
#include <QObject>
#include <QString>
#include <QUrl>

#include <filesystem>
#include <memory>
#include <string>

#include <Cirrus/MainQueue.h>
#include <Cirrus/Url.h>

namespace cirrus {

/// Makes the application's event loop the main queue: every callback of the library runs on the
/// thread of the `QCoreApplication`, while its loop or a nested one runs. Call it before the first
/// share job, from any thread; as long as there is no application object yet, on the thread that
/// will make it.
///
/// Tasks that come after the loop has ended wait in the queue.
inline void useQtEventLoop() {
    // Of its own, not the application: this one may be called after the application is gone.
    const std::shared_ptr<QObject> receiver(new QObject,
                                            [](QObject* object) { object->deleteLater(); });
    if (const auto* const application = QCoreApplication::instance()) {
        receiver->moveToThread(application->thread());
    }
    MainQueue::setWakeUp([receiver] {
        QMetaObject::invokeMethod(receiver.get(), [] { MainQueue::drain(); }, Qt::QueuedConnection);
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
