// A host with a GLib main loop: shares files, prints the link, and stops for good on Ctrl-C.

#include <Cirrus/Cirrus.h>
#include <Cirrus/adapters/GLib.h>
#include <glib-unix.h>

#include <array>
#include <csignal>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <Cirrus/emulator/LocalDrive.h>

namespace {

using cirrus::ShareController;
using cirrus::emulator::LocalDrive;

template <class Object, void (*release)(Object*)>
struct Release {
    void operator()(Object* object) const { release(object); }
};

using MainLoop = std::unique_ptr<GMainLoop, Release<GMainLoop, g_main_loop_unref>>;
using OptionContext =
    std::unique_ptr<GOptionContext, Release<GOptionContext, g_option_context_free>>;
using StringArray = std::unique_ptr<gchar*, Release<gchar*, g_strfreev>>;

struct Arguments {
    std::string token;
    bool useEmulator = false;
    std::vector<std::filesystem::path> files;
};

std::optional<Arguments> readArguments(int count, char** values) {
    gchar** files = nullptr;
    gboolean useEmulator = FALSE;
    const std::array<GOptionEntry, 3> entries{{
        {"emulator", 0, 0, G_OPTION_ARG_NONE, &useEmulator, "Share through a local Drive", nullptr},
        {G_OPTION_REMAINING, 0, 0, G_OPTION_ARG_FILENAME_ARRAY, static_cast<gpointer>(&files),
         nullptr, "FILE..."},
        {},
    }};
    const OptionContext options(g_option_context_new(nullptr));
    g_option_context_set_summary(options.get(), "The token is taken from CIRRUS_TOKEN.");
    g_option_context_add_main_entries(options.get(), entries.data(), nullptr);
    g_autoptr(GError) error = nullptr;
    const bool isRead = g_option_context_parse(options.get(), &count, &values, &error) == TRUE;
    const StringArray held(files);

    const char* const token = g_getenv("CIRRUS_TOKEN");
    if (!isRead || files == nullptr || (useEmulator == FALSE && token == nullptr)) {
        std::cerr << (error != nullptr ? error->message : "Files and a token are needed.") << '\n';
        return std::nullopt;
    }
    Arguments arguments{
        .token = token != nullptr ? token : "", .useEmulator = useEmulator == TRUE, .files = {}};
    arguments.files.assign(files, files + g_strv_length(files));
    return arguments;
}

/// One job and the loop that waits for its end.
class Share {
public:
    explicit Share(const Arguments& arguments)
        : job_(ShareController({arguments.files, "Stashly", "Shared files"}, arguments.token)) {}

    bool run() {
        const guint interrupt = g_unix_signal_add(SIGINT, &Share::stop, this);
        job_->upload({}, [this](const auto& result) { finish(result); });
        g_main_loop_run(loop_.get());
        g_source_remove(interrupt);
        return isShared_;
    }

private:
    void finish(const cirrus::Result<cirrus::Url, ShareController::Error>& result) {
        isShared_ = result.has_value();
        std::cout << (result ? result->text()
                             : result.error().errorDescription().value_or("Sharing failed."))
                  << '\n';
        for (const auto& file : job_->failedFiles()) {
            std::cerr << file.path.string() << ": " << file.errorDescription << '\n';
        }
        g_main_loop_quit(loop_.get());
    }

    /// No callback comes any more, so `this` may go.
    static gboolean stop(gpointer share) {
        auto& self = *static_cast<Share*>(share);
        self.job_.stop();
        g_main_loop_quit(self.loop_.get());
        return G_SOURCE_CONTINUE;
    }

    MainLoop loop_{g_main_loop_new(nullptr, FALSE)};
    bool isShared_ = false;
    cirrus::ScopedShareController job_;
};

} // namespace

int main(int count, char** values) {
    auto arguments = readArguments(count, values);
    if (!arguments) {
        return 2;
    }
    std::unique_ptr<LocalDrive> drive;
    if (arguments->useEmulator) {
        auto started = LocalDrive::start();
        if (!started) {
            std::cerr << started.error().diagnosticText() << '\n';
            return 1;
        }
        drive = *std::move(started);
        arguments->token = (*drive)->accessToken();
    }
    cirrus::useGLibMainContext();
    return Share(*arguments).run() ? 0 : 1;
}
