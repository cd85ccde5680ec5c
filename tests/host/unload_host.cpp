/// Built twice: as a plug-in that runs a job through the library, and as a host that loads and
/// unloads it again and again.
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
    for (const bool runsJob : {false, true, true}) { // a job's threads keep the library loaded too
        void* plugin = ::dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
        if (runsJob && !reinterpret_cast<bool (*)()>(::dlsym(plugin, "hasFailed"))()) {
            return 1;
        }
        ::dlclose(plugin);
        void* library = ::dlopen(arguments[2], RTLD_NOW | RTLD_NOLOAD);
        if (library == nullptr || ::dlclose(library) != 0) {
            return 2;
        }
    }
    return 0;
}
#endif
