#pragma once

/// For hosts with a Windows message loop.

#include <windows.h>

#include <deque>
#include <memory>
#include <mutex>
#include <utility>

#include <Cirrus/MainQueue.h>

namespace cirrus {

namespace detail {

/// Tasks that wait for the message loop. At most one message tells of them, however many there are,
/// since a thread's message queue is bounded.
class Win32Tasks {
public:
    void post(MainQueue::Task task, HWND window) {
        const std::scoped_lock lock(mutex_);
        tasks_.push_back(std::move(task));
        announce(window);
    }

    void runFirst(HWND window) {
        MainQueue::Task task;
        {
            const std::scoped_lock lock(mutex_);
            if (tasks_.empty()) {
                return;
            }
            task = std::move(tasks_.front());
            tasks_.pop_front();
            isAnnounced_ = false;
            announce(window); // before the task, which may run a loop of its own
        }
        task();
    }

private:
    /// With the lock held. If the message queue is full, the next task tries again.
    void announce(HWND window) {
        if (!isAnnounced_ && !tasks_.empty()) {
            isAnnounced_ = ::PostMessageW(window, WM_APP, 0, 0) != 0;
        }
    }

    std::mutex mutex_;
    std::deque<MainQueue::Task> tasks_;
    bool isAnnounced_ = false;
};

inline LRESULT CALLBACK win32TaskProcedure(HWND window, UINT message, WPARAM first, LPARAM second) {
    auto* const tasks = reinterpret_cast<Win32Tasks*>(::GetWindowLongPtrW(window, GWLP_USERDATA));
    if (message == WM_APP) {
        tasks->runFirst(window);
        return 0;
    }
    if (message == WM_NCDESTROY) {
        delete tasks;
    }
    return ::DefWindowProcW(window, message, first, second);
}

} // namespace detail

/// Makes the message loop of this thread the main queue: every callback of the library runs on this
/// thread, while its loop or a nested one (a message box, say) dispatches messages. Call it before
/// the first share job, on the thread of the user interface. False if Windows refuses the invisible
/// window that receives the messages; then nothing has changed.
inline bool useWin32MessageLoop() {
    const HINSTANCE program = ::GetModuleHandleW(nullptr);
    WNDCLASSW kind{};
    kind.lpfnWndProc = detail::win32TaskProcedure;
    kind.hInstance = program;
    kind.lpszClassName = L"CirrusMainQueue";
    ::RegisterClassW(&kind); // fails if it is there already
    const HWND created = ::CreateWindowExW(0, kind.lpszClassName, L"", 0, 0, 0, 0, 0, HWND_MESSAGE,
                                           nullptr, program, nullptr);
    if (created == nullptr) {
        return false;
    }
    auto* const tasks = new detail::Win32Tasks;
    ::SetWindowLongPtrW(created, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(tasks));
    // Only its own thread may destroy a window.
    const std::shared_ptr<HWND__> window(created,
                                         [](HWND held) { ::PostMessageW(held, WM_CLOSE, 0, 0); });
    MainQueue::setDispatcher(
        [window, tasks](MainQueue::Task task) { tasks->post(std::move(task), window.get()); });
    return true;
}

} // namespace cirrus
