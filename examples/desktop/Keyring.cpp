#include "Keyring.h"

#include <qt6keychain/keychain.h>

#include <utility>

namespace {

constexpr auto service = "cirrus-desktop";

/// It deletes itself at its end.
void start(QKeychain::Job* job) {
    job->setKey("refresh-token");
    job->start();
}

} // namespace

void Keyring::read(std::function<void(const QString&)> whenRead) {
    auto* const job = new QKeychain::ReadPasswordJob(service);
    connect(job, &QKeychain::Job::finished, this, [job, whenRead = std::move(whenRead)] {
        whenRead(job->error() == QKeychain::NoError ? job->textData() : QString());
    });
    start(job);
}

void Keyring::write(const QString& secret) {
    if (secret.isEmpty()) {
        start(new QKeychain::DeletePasswordJob(service));
    } else {
        auto* const job = new QKeychain::WritePasswordJob(service);
        job->setTextData(secret);
        start(job);
    }
}
