#pragma once

#include <QString>

#include <functional>

/// Where a secret outlives the program. Calls back on the thread of the user interface, later or at
/// once.
class SecretStore {
public:
    SecretStore() = default;
    virtual ~SecretStore() = default;
    SecretStore(const SecretStore&) = delete;
    SecretStore& operator=(const SecretStore&) = delete;

    /// Empty if there is none, or if the store cannot be opened.
    virtual void read(std::function<void(const QString& secret)> whenRead) = 0;

    /// An empty secret is removed. A store that does not take it leaves the user to sign in again
    /// the next time.
    virtual void write(const QString& secret) = 0;
};
