#include <Cirrus/Cirrus.h>

#include <memory>

#include "Cirrus/platform/LoopbackPeer.h"
#include "bench/Contender.h"
#include "bench/DroppingLog.h"

namespace cirrus::bench {

Outcome shareWithCirrus(const Task& task, const CirrusSettings& settings) {
    setLoopbackPeer(LoopbackPeer{
        .port = task.port, .certificateAuthority = task.authority, .idleLimit = std::nullopt});
    if (settings.logsToNowhere) {
        Configuration::setLog(std::make_shared<DroppingLog>());
    }
    std::vector<ShareController> controllers;
    Outcome outcome = 0;
    std::size_t jobsLeft = task.jobs;
    for (std::size_t job = 0; job < task.jobs; ++job) {
        controllers.emplace_back(ShareController::Context(task.files, "Root", "Destination"),
                                 task.token);
        controllers.back().upload(
            [&outcome](const auto&) {
                if (outcome) {
                    ++*outcome;
                }
            },
            [&outcome, &jobsLeft](const auto& result) {
                if (!result) {
                    outcome = std::unexpected(result.error().diagnosticText());
                }
                if (--jobsLeft == 0) {
                    MainQueue::stop();
                }
            });
    }
    MainQueue::run();
    return outcome;
}

} // namespace cirrus::bench
