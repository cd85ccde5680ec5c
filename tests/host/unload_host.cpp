/// Built twice: as a plug-in that runs a job through the library, and as a host that loads it,
/// unloads it and does both again.
#include <dlfcn.h>

#include "Cirrus/platform/http/TestServer.h"
#include <Cirrus/Cirrus.h>

#ifdef CIRRUS_PLUGIN
extern "C" CIRRUS_EXPORT bool hasFailed() {
    using namespace cirrus;
    connectToTestServer(TestServer{.port = 1, .certificateAuthority = {}, .idleLimit = {}});
    ShareController controller({{}, "Root", "Destination"}, "token");
    bool hasFailed = false;
    controller.upload({}, [&hasFailed](const auto& result) {
        hasFailed = !result;
        MainQueue::stop();
    });
    MainQueue::run();
    return hasFailed;
}
#else
int main(int, char** arguments) {
    for (int round = 0; round < 2; ++round) {
        void* plugin = ::dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
        if (!reinterpret_cast<bool (*)()>(::dlsym(plugin, "hasFailed"))() || dlclose(plugin) != 0) {
            return 1;
        }
    }
    return ::dlopen(arguments[2], RTLD_NOW | RTLD_NOLOAD) == nullptr;
}
#endif
