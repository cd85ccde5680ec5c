#pragma once

#include "Cirrus/webservice/Webservice.h"
#include "tests/support/Step.h"

namespace cirrus::tests {

/// A request that waits for its answer. It may outlive the service that it was made to.
struct ScriptedRequest {
    Step step{};
    /// Answers, once, with a plain success or a failure, after two steps of progress if it is a
    /// content; does nothing when the service is gone.
    std::function<void(bool succeeds)> answer;
};

/// Stands in for a Drive without a root folder: hands each request to the receiver, on the thread
/// that makes it.
class ScriptedWebservice final : public Webservice,
                                 public std::enable_shared_from_this<ScriptedWebservice> {
public:
    using Receiver = std::function<void(ScriptedRequest)>;
    using Text = const std::string&;
    using OptionalText = const std::optional<std::string>&;
    using Time = std::chrono::system_clock::time_point;

    explicit ScriptedWebservice(Receiver receiver) : receiver_(std::move(receiver)) {}

    void findDirectory(Text, Completion<FileList> completion) override {
        receive(Step::search, FileList(), std::move(completion));
    }

    void createDirectory(Text, OptionalText parent, Completion<File> completion) override {
        receive(parent ? Step::createDestination : Step::createRoot, File(), std::move(completion));
    }

    void createUploadUrl(Text, std::int64_t, Text, Completion<Url> completion) override {
        receive(Step::session, Url::parse("https://session").value(), std::move(completion));
    }

    void upload(SharedBytes data, const Url&, const ProgressReceiver& tell,
                Completion<File> completion) override {
        const auto progress = Progress::create(data->size());
        tell(progress);
        receive(Step::content, File(), std::move(completion), progress);
    }

    void createPermission(Text, Text, Text, OptionalText, OptionalText, std::optional<Time>,
                          Completion<Permission> completion) override {
        receive(Step::permission, Permission(), std::move(completion));
    }

    void requestFile(Text, Completion<File> completion) override {
        receive(Step::link, {"", "", "", "", Url::parse("https://link"), {}},
                std::move(completion));
    }

private:
    template <class Value>
    void receive(Step step, const Value& success, Completion<Value> completion,
                 std::shared_ptr<Progress> progress = nullptr) {
        using Answer = Result<Value, WebserviceError>;
        receiver_({step, [service = weak_from_this(), success, progress = std::move(progress),
                          completion = std::move(completion)](bool succeeds) {
                       for (std::uint64_t sent = 1; progress && sent <= 2; ++sent) {
                           progress->setCompletedUnitCount(sent);
                       }
                       if (!service.expired()) {
                           completion(succeeds
                                          ? Answer(success)
                                          : std::unexpected(WebserviceError::invalidResponse()));
                       }
                   }});
    }

    const Receiver receiver_;
};

} // namespace cirrus::tests
