#include "ShareTask.h"

#include <QPointer>

#include <utility>

void ShareTask::start(cirrus::ShareController::Context context, std::string token) {
    cancel();
    fraction_ = 0;
    link_.clear();
    controller_ = std::make_unique<cirrus::ShareController>(std::move(context), std::move(token));
    const QPointer<ShareTask> task(this);
    controller_->upload(
        [task](const auto& progress) {
            if (task) {
                task->progress(progress->fractionCompleted());
            }
        },
        [task](const auto& result) {
            if (task) {
                task->complete(result);
            }
        });
    enter(State::preparing);
}

void ShareTask::cancel() {
    if (isRunning()) {
        // Either alone would let steps run on, or an outcome through that already waits.
        controller_->cancel();
        controller_.reset();
        enter(State::cancelled);
    }
}

void ShareTask::progress(double fraction) {
    fraction_ = fraction;
    enter(fraction < 1 ? State::uploading : State::finishing);
}

void ShareTask::complete(
    const cirrus::Result<cirrus::Url, cirrus::ShareController::Error>& result) {
    controller_.reset();
    if (result) {
        link_ = QString::fromStdString(result->text());
        enter(State::shared);
        return;
    }
    enter(State::failed);
    const auto words = result.error().errorDescription();
    emit failed(words ? QString::fromStdString(*words) : tr("The files could not be shared."));
}

void ShareTask::enter(State state) {
    state_ = state;
    emit changed();
}
