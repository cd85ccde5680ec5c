#pragma once

#include <cstddef>
#include <ctime>
#include <filesystem>
#include <string>
#include <vector>

// What each system does in its own way.

/// The arguments of the command line without the program's name, in UTF-8.
std::vector<std::string> utf8Arguments(int count, char** values);

/// A path from UTF-8 and back.
std::filesystem::path toPath(const std::string& text);
std::string toText(const std::filesystem::path& path);

/// Whether it is a file, not a folder or a device, and may be read.
bool isReadableFile(const std::filesystem::path& path);

std::tm localTime(std::time_t time);

/// Makes the terminal take UTF-8 and the commands that the bar needs.
void prepareTerminal();

/// The columns of the terminal behind standard error; 0 if there is none.
std::size_t columns();

/// Ctrl-C as the end of the main queue, unless the parent had it ignored. Make it before any
/// thread, so that all of them leave the signal to it, and only once.
class Interrupt {
public:
    Interrupt();
    Interrupt(const Interrupt&) = delete;
    Interrupt& operator=(const Interrupt&) = delete;
    ~Interrupt();

    /// Runs the main queue until somebody stops it; false if that was Ctrl-C.
    static bool runMainQueue();
};
