#pragma once

#include <chrono>
#include <cstdint>
#include <expected>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

/// What the user asked for.
struct Arguments {
    std::string root = "Stashly";
    std::string destination = "Shared files";
    std::optional<std::string> email;
    std::optional<std::string> message;
    std::optional<std::chrono::system_clock::time_point> expiration;
    bool log = false;
    /// Empty with the emulator, which has a token of its own.
    std::string token;
    bool useEmulator = false;
    /// Bytes that the emulator reads in a second; 0 for no limit.
    std::uint64_t rate = 0;
    /// Where to list what the emulator holds at the end; empty for nowhere.
    std::filesystem::path contents;
    std::vector<std::filesystem::path> files;
};

/// Reads the command line. Gives the exit status instead when there is nothing to share, with
/// the help or the complaint already printed.
std::expected<Arguments, int> readArguments(int count, char** values);
