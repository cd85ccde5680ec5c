#pragma once

// For hosts with a Windows message loop.

#include <windows.h>

#include <memory>

#include <Cirrus/MainQueue.h>

namespace cirrus {

namespace detail {

inline LRESULT CALLBACK win32QueueProcedure(HWND window, UINT message, WPARAM first,
                                            LPARAM second) {
    if (message != WM_APP) {
        return ::DefWindowProcW(window, message, first, second);
    }
    MainQueue::drain();
    return 0;
}

} // namespace detail

/// Makes the message loop of this thread the main queue: every callback of the library runs on this
/// thread, while its loop or a nested one (a message box, say) dispatches messages. Call it before
/// the first share job, on the thread of the user interface. False if Windows refuses the invisible
/// window that receives the messages; then nothing has changed.
inline bool useWin32MessageLoop() {
    const HINSTANCE program = ::GetModuleHandleW(nullptr);
    WNDCLASSW kind{};
    kind.lpfnWndProc = detail::win32QueueProcedure;
    kind.hInstance = program;
    kind.lpszClassName = L"CirrusMainQueue";
    ::RegisterClassW(&kind); // fails if it is there already
    const HWND created = ::CreateWindowExW(0, kind.lpszClassName, L"", 0, 0, 0, 0, 0, HWND_MESSAGE,
                                           nullptr, program, nullptr);
    if (created == nullptr) {
        return false;
    }
    // Only its own thread may destroy a window.
    const std::shared_ptr<HWND__> window(created,
                                         [](HWND held) { ::PostMessageW(held, WM_CLOSE, 0, 0); });
    // Fails only if 10,000 messages wait. One of ours among them drains, or else the next task's.
    MainQueue::setWakeUp([window] { ::PostMessageW(window.get(), WM_APP, 0, 0); });
    return true;
}

} // namespace cirrus
