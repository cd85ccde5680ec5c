#pragma once

#include <QObject>
#include <QString>

#include <Cirrus/Cirrus.h>

#include <string>

/// Shares once at a time through the library, and says where it is.
class ShareTask final : public QObject {
    Q_OBJECT

public:
    enum class State { idle, preparing, uploading, finishing, shared, failed, cancelled };

    using QObject::QObject;

    void start(cirrus::ShareController::Context context, std::string token);

    /// Really stops what runs. Nothing more is heard of it.
    void cancel();

    [[nodiscard]] State state() const { return state_; }

    [[nodiscard]] bool isRunning() const { return static_cast<bool>(job_); }

    /// The part of the upload that is done, from 0 to 1.
    [[nodiscard]] double fraction() const { return fraction_; }

    /// Empty until it is shared.
    [[nodiscard]] const QString& link() const { return link_; }

signals:
    void changed();
    /// Comes after `changed`, with words for the user. If files failed, the summary says how many
    /// for which reason, and `files` has a line for each.
    void failed(const QString& words, const QString& summary, const QString& files);

private:
    void progress(double fraction);
    void complete(const cirrus::Result<cirrus::Url, cirrus::ShareController::Error>& result);
    void enter(State state);

    State state_ = State::idle;
    double fraction_ = 0;
    QString link_;
    cirrus::ScopedShareController job_;
};
