#include "ShareTask.h"

#include <Cirrus/adapters/Qt.h>

#include <QLocale>
#include <QStringList>

#include <map>
#include <utility>

namespace {

QString words(cirrus::FailureReason reason) {
    using enum cirrus::FailureReason;
    switch (reason) {
    case offline:
        return ShareTask::tr("no connection to Google");
    case timedOut:
        return ShareTask::tr("Google did not answer in time");
    case untrustedConnection:
        return ShareTask::tr("the connection is not secure");
    case connectionLost:
        return ShareTask::tr("the connection was lost");
    case signedOut:
        return ShareTask::tr("signed out");
    case refused:
        return ShareTask::tr("refused by Google");
    case notFound:
        return ShareTask::tr("not found in Google Drive");
    case tooManyRequests:
        return ShareTask::tr("too many requests");
    case serviceTrouble:
        return ShareTask::tr("Google Drive is in trouble");
    case unreadableFile:
        return ShareTask::tr("the file could not be read");
    case answerNotUnderstood:
    case filesFailed:
    case noLink:
    case other:
        break;
    }
    return ShareTask::tr("something went wrong");
}

} // namespace

void ShareTask::start(cirrus::ShareController::Context context, std::string token) {
    cancel();
    fraction_ = 0;
    link_.clear();
    words_.clear();
    failures_.clear();
    job_ = cirrus::ScopedShareController({std::move(context), std::move(token)});
    // `this` is safe: the job ends with it.
    job_->upload([this](const auto& done) { progress(done->fractionCompleted()); },
                 [this](const auto& result) { complete(result); });
    enter(State::preparing);
}

void ShareTask::cancel() {
    if (isRunning()) {
        job_.stop();
        words_ = tr("Cancelled. What has arrived stays in your Drive.");
        enter(State::cancelled);
    }
}

QString ShareTask::failureSummary() const {
    std::map<QString, int> counts;
    for (const auto& reason : failures_) {
        ++counts[reason];
    }
    QStringList lines;
    for (const auto& [reason, count] : counts) {
        lines.append((count == 1 ? tr("%1 file: %2") : tr("%1 files: %2"))
                         .arg(QLocale().toString(count), reason));
    }
    return lines.join('\n');
}

void ShareTask::progress(double fraction) {
    fraction_ = fraction;
    enter(fraction < 1 ? State::uploading : State::finishing);
}

void ShareTask::complete(
    const cirrus::Result<cirrus::Url, cirrus::ShareController::Error>& result) {
    for (const auto& file : job_->failedFiles()) {
        failures_.insert(cirrus::toQString(file.path), ::words(file.reason));
    }
    job_.stop();
    if (result) {
        link_ = QString::fromStdString(result->text());
        enter(State::shared);
        return;
    }
    const auto text = result.error().errorDescription();
    words_ = text ? QString::fromStdString(*text) : tr("The files could not be shared.");
    enter(State::failed);
}

void ShareTask::enter(State state) {
    state_ = state;
    emit changed();
}
