#include <Cirrus/Cirrus.h>

#include "Cirrus/platform/http/TestServer.h"
#include "bench/Contender.h"

namespace cirrus::bench {

Outcome shareWithCirrus(const Task& task) {
    connectToTestServer(TestServer{
        .port = task.port, .certificateAuthority = task.authority, .idleLimit = std::nullopt});
    std::vector<ShareController> controllers;
    Outcome outcome;
    std::size_t jobsLeft = task.jobs;
    for (std::size_t job = 0; job < task.jobs; ++job) {
        controllers.emplace_back(ShareController::Context(task.files, "Root", "Destination"),
                                 task.token);
        controllers.back().upload([](const auto&) {},
                                  [&outcome, &jobsLeft](const auto& result) {
                                      if (!result) {
                                          outcome =
                                              std::unexpected(result.error().diagnosticText());
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
