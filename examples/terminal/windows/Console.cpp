#include "../Console.h"

#include <Cirrus/MainQueue.h>

#include <windows.h>

#include <shellapi.h>

#include <atomic>
#include <memory>
#include <span>
#include <string_view>

namespace {

std::atomic<bool> isInterrupted = false;

BOOL WINAPI interrupt(DWORD) {
    isInterrupted = true;
    cirrus::MainQueue::stop();
    return TRUE;
}

std::string toUtf8(std::wstring_view wide) {
    const auto convert = [wide](char* to, int room) {
        return ::WideCharToMultiByte(CP_UTF8, 0, wide.data(), static_cast<int>(wide.size()), to,
                                     room, nullptr, nullptr);
    };
    std::string text(static_cast<std::size_t>(convert(nullptr, 0)), '\0');
    convert(text.data(), static_cast<int>(text.size()));
    return text;
}

} // namespace

std::vector<std::string> utf8Arguments(int, char**) {
    // Those of `main` have lost what the system's code page lacks.
    int count = 0;
    const std::unique_ptr<wchar_t*, decltype(&::LocalFree)> values(
        ::CommandLineToArgvW(::GetCommandLineW(), &count), ::LocalFree);
    std::vector<std::string> arguments;
    for (const wchar_t* value :
         std::span(values.get(), static_cast<std::size_t>(count)).subspan(1)) {
        arguments.push_back(toUtf8(value));
    }
    return arguments;
}

std::filesystem::path toPath(const std::string& text) {
    return std::u8string(text.begin(), text.end());
}

std::string toText(const std::filesystem::path& path) {
    return toUtf8(path.native());
}

bool isReadableFile(const std::filesystem::path& path) {
    // Not by the standard library, which takes no paths of more than 260 characters.
    std::error_code failure;
    auto name = std::filesystem::absolute(path, failure).make_preferred().native();
    if (!name.starts_with(LR"(\\)")) {
        name.insert(0, LR"(\\?\)");
    }
    const HANDLE file = ::CreateFileW(name.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                      OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    const bool isFile = file != INVALID_HANDLE_VALUE && ::GetFileType(file) == FILE_TYPE_DISK;
    if (file != INVALID_HANDLE_VALUE) {
        ::CloseHandle(file);
    }
    return isFile;
}

std::tm localTime(std::time_t time) {
    std::tm local{};
    (void)::localtime_s(&local, &time);
    return local;
}

void prepareTerminal() {
    const HANDLE terminal = ::GetStdHandle(STD_ERROR_HANDLE);
    DWORD mode = 0;
    if (::GetConsoleMode(terminal, &mode) != 0) {
        ::SetConsoleMode(terminal, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
    }
    ::SetConsoleOutputCP(CP_UTF8);
}

std::size_t columns() {
    CONSOLE_SCREEN_BUFFER_INFO screen{};
    const bool isThere =
        ::GetConsoleScreenBufferInfo(::GetStdHandle(STD_ERROR_HANDLE), &screen) != 0;
    return isThere ? static_cast<std::size_t>(screen.srWindow.Right - screen.srWindow.Left) : 0;
}

Interrupt::Interrupt() {
    ::SetConsoleCtrlHandler(interrupt, TRUE);
}

Interrupt::~Interrupt() {
    ::SetConsoleCtrlHandler(interrupt, FALSE);
}

bool Interrupt::runMainQueue() {
    cirrus::MainQueue::run();
    return !isInterrupted;
}
