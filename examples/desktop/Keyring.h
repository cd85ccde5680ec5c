#pragma once

#include <QObject>

#include "SecretStore.h"

/// The user's keyring, with the secret of this program.
class Keyring final : public QObject, public SecretStore {
    Q_OBJECT

public:
    using QObject::QObject;

    void read(std::function<void(const QString&)> whenRead) override;
    void write(const QString& secret) override;
};
