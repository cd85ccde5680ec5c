#include "Keyring.h"

#include <qt6keychain/keychain.h>

#include <utility>

namespace {

constexpr auto service = "cirrus-desktop";
constexpr auto key = "refresh-token";

/// Starts a job that deletes itself at its end.
void start(QKeychain::Job* job, QObject* context, std::function<void()> whenFinished) {
    job->setKey(key);
    QObject::connect(job, &QKeychain::Job::finished, context, std::move(whenFinished));
    job->start();
}

} // namespace

void Keyring::read(std::function<void(const QString&)> whenRead) {
    auto* const job = new QKeychain::ReadPasswordJob(service);
    start(job, this, [job, whenRead = std::move(whenRead)] {
        whenRead(job->error() == QKeychain::NoError ? job->textData() : QString());
    });
}

void Keyring::write(const QString& secret, std::function<void(bool)> whenWritten) {
    QKeychain::Job* job = nullptr;
    if (secret.isEmpty()) {
        job = new QKeychain::DeletePasswordJob(service);
    } else {
        auto* const writing = new QKeychain::WritePasswordJob(service);
        writing->setTextData(secret);
        job = writing;
    }
    start(job, this, [job, whenWritten = std::move(whenWritten)] {
        whenWritten(job->error() == QKeychain::NoError);
    });
}
