#include "Arguments.h"

#include <CLI/CLI.hpp>
#include <Cirrus/Version.h>

#include <algorithm>
#include <ctime>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <iterator>
#include <sstream>
#include <utility>

#include "Console.h"
#include "LocalService.h"
#include "Terminal.h"

namespace {

constexpr int usageStatus = 2;

/// "2027-03-05", meaning the end of that day, or "2027-03-05T14:07[:09]", in local time.
std::optional<std::chrono::system_clock::time_point> parseDate(const std::string& text) {
    std::string shape = text;
    std::ranges::replace_if(shape, [](char one) { return one >= '0' && one <= '9'; }, '0');
    for (const auto& [form, format] : {std::pair("0000-00-00", "%Y-%m-%d"),
                                       {"0000-00-00T00:00", "%Y-%m-%dT%H:%M"},
                                       {"0000-00-00T00:00:00", "%Y-%m-%dT%H:%M:%S"}}) {
        std::tm local{};
        if (shape != form || !(std::istringstream(text) >> std::get_time(&local, format))) {
            continue;
        }
        if (shape.size() == std::string_view("0000-00-00").size()) {
            local.tm_hour = 23;
            local.tm_min = 59;
            local.tm_sec = 59;
        }
        local.tm_isdst = -1;
        const int day = local.tm_mday;
        const auto time = std::mktime(&local);
        if (local.tm_mday == day) { // there is such a day in that month
            return std::chrono::system_clock::from_time_t(time);
        }
    }
    return std::nullopt;
}

std::string checkDate(const std::string& text) {
    return parseDate(text) ? "" : "not a date like 2027-03-05 or 2027-03-05T14:07: " + text;
}

std::string checkFile(const std::string& name) {
    return isReadableFile(toPath(name)) ? "" : "not a file that can be read: " + visible(name);
}

/// The token in a file; the line break that editors put at its end is not part of it. Empty if the
/// file cannot be read.
std::string readToken(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::string token;
    std::getline(file, token, '\0');
    while (token.ends_with('\n') || token.ends_with('\r')) {
        token.pop_back();
    }
    return token;
}

/// The arguments, last one first as the parser takes them, with "--name=" as two, since the parser
/// would take the argument behind it for the value.
std::vector<std::string> reversedArguments(const std::vector<std::string>& values) {
    std::vector<std::string> arguments;
    for (const auto& value : values) {
        const bool hasEmptyValue = value.starts_with("--") && value.find('=') + 1 == value.size();
        arguments.push_back(hasEmptyValue ? value.substr(0, value.size() - 1) : value);
        if (hasEmptyValue) {
            arguments.emplace_back();
        }
    }
    std::ranges::reverse(arguments);
    return arguments;
}

void addLocalService(CLI::App& app, CLI::App& service, Arguments& arguments, std::string& list) {
    auto* emulator =
        service.add_flag("--emulator", arguments.useEmulator, "A local Drive, gone at the end");
    app.add_option("--rate", arguments.rate, "Bytes that the local Drive reads in a second, as 2M")
        ->type_name("SIZE")
        ->transform(CLI::AsSizeValue(true))
        ->needs(emulator);
    app.add_option("--contents", list, "List what the local Drive holds at the end")
        ->type_name("FILE")
        ->needs(emulator);
}

} // namespace

std::expected<Arguments, int> readArguments(int count, char** values) {
    Arguments arguments;
    std::string date;
    std::string tokenFile;
    std::string list;
    std::vector<std::string> files;

    CLI::App app("Shares files through Google Drive and prints the link.", "cirrus-share");
    app.footer("To get a token: cirrus-share sign-in --help");
    app.set_version_flag("--version", "cirrus-share " + std::string(cirrus::CirrusVersionString));
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
        ->type_name("FILE");
    if (LocalService::isOffered()) {
        addLocalService(app, *service, arguments, list);
    }
    service->require_option(1);
    app.add_option("files", files, "What to share")
        ->type_name("FILE")
        ->required()
        ->check(checkFile);
    try {
        app.parse(reversedArguments(utf8Arguments(count, values)));
    } catch (const CLI::ParseError& error) {
        return std::unexpected(app.exit(error) == 0 ? 0 : usageStatus);
    }

    arguments.contents = toPath(list);
    std::ranges::transform(files, std::back_inserter(arguments.files), toPath);
    if (!date.empty()) {
        arguments.expiration = parseDate(date);
    }
    if (!arguments.useEmulator) {
        arguments.token = readToken(toPath(tokenFile));
        if (arguments.token.empty()) {
            std::cerr << "cirrus-share: there is no token in " + visible(tokenFile) + "\n";
            return std::unexpected(usageStatus);
        }
    }
    return arguments;
}
