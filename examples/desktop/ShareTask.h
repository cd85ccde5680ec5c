#pragma once

#include <QHash>
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

    /// What to tell the user of a failure or of having cancelled; empty otherwise.
    [[nodiscard]] const QString& words() const { return words_; }

    /// What went wrong with which path, if files failed.
    [[nodiscard]] const QHash<QString, QString>& failures() const { return failures_; }

    /// How many files failed for which reason, a line for each.
    [[nodiscard]] QString failureSummary() const;

signals:
    void changed();

private:
    void progress(double fraction);
    void complete(const cirrus::Result<cirrus::Url, cirrus::ShareController::Error>& result);
    void enter(State state);

    State state_ = State::idle;
    double fraction_ = 0;
    QString link_;
    QString words_;
    QHash<QString, QString> failures_;
    cirrus::ScopedShareController job_;
};
