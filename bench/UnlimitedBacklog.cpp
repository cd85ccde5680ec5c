// Preloaded into a contender: passes every socket option on but the limit of unsent data, so that
// runs with and without the limit can be compared without a knob in the library.

#include <dlfcn.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

extern "C" __attribute__((visibility("default"))) int
setsockopt(int socket, int level, int option, const void* value, socklen_t length) noexcept {
    if (level == IPPROTO_TCP && option == TCP_NOTSENT_LOWAT) {
        return 0;
    }
    using Function = int (*)(int, int, int, const void*, socklen_t);
    static const auto original = reinterpret_cast<Function>(::dlsym(RTLD_NEXT, "setsockopt"));
    return original(socket, level, option, value, length);
}
