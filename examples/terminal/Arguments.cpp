#include "Arguments.h"

#include <CLI/CLI.hpp>

#include <array>
#include <ctime>
#include <fstream>
#include <iterator>

namespace {

constexpr int usageStatus = 2;

/// "2027-03-05", meaning the end of that day, or "2027-03-05T14:07[:09]", in local time.
std::optional<std::chrono::system_clock::time_point> parseDate(const std::string& text) {
    for (const char* format : {"%Y-%m-%dT%H:%M:%S", "%Y-%m-%dT%H:%M", "%Y-%m-%d"}) {
        std::tm local{};
        local.tm_hour = 23;
        local.tm_min = 59;
        local.tm_sec = 59;
        local.tm_isdst = -1;
        if (const char* end = ::strptime(text.c_str(), format, &local);
            end != nullptr && *end == '\0') {
            return std::chrono::system_clock::from_time_t(std::mktime(&local));
        }
    }
    return std::nullopt;
}

std::string checkDate(const std::string& text) {
    return parseDate(text) ? "" : "not a date like 2027-03-05 or 2027-03-05T14:07: " + text;
}

/// The token in a file; the line break that editors put at its end is not part of it.
std::string readToken(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::string token{std::istreambuf_iterator<char>(file), {}};
    while (token.ends_with('\n') || token.ends_with('\r')) {
        token.pop_back();
    }
    return token;
}

} // namespace

std::expected<Arguments, int> readArguments(int count, char** values) {
    Arguments arguments;
    std::string date;
    std::string tokenFile;

    CLI::App app("Shares files through Google Drive and prints the link.", "cirrus-share");
    app.add_option("--root", arguments.root, "Folder that holds all shares")
        ->type_name("NAME")
        ->capture_default_str();
    app.add_option("--destination", arguments.destination, "Folder to create for these files")
        ->type_name("NAME")
        ->capture_default_str();
    app.add_option("--email", arguments.email, "Share with this address only")->type_name("A");
    app.add_option("--message", arguments.message, "Text of the notification")->type_name("TEXT");
    app.add_option("--expires", date, "When the share ends, in local time")
        ->type_name("DATE")
        ->check(checkDate);
    app.add_flag("--log", arguments.log, "Write what happens to standard error");
    auto* service = app.add_option_group("service", "Where to share");
    service->add_option("--token-file", tokenFile, "File with an OAuth access token")
        ->type_name("FILE")
        ->check(CLI::ExistingFile);
    auto* emulator =
        service->add_flag("--emulator", arguments.useEmulator, "A local Drive, gone at the end");
    service->require_option(1);
    app.add_option("--contents", arguments.contents, "List what the local Drive holds at the end")
        ->type_name("FILE")
        ->needs(emulator);
    app.add_option("files", arguments.files, "What to share")
        ->type_name("FILE")
        ->required()
        ->check(CLI::ExistingFile);
    try {
        app.parse(count, values);
    } catch (const CLI::ParseError& error) {
        return std::unexpected(app.exit(error) == 0 ? 0 : usageStatus);
    }

    if (!date.empty()) {
        arguments.expiration = parseDate(date);
    }
    if (!arguments.useEmulator) {
        arguments.token = readToken(tokenFile);
    }
    return arguments;
}
