#pragma once

#include <curl/curl.h>
#include <semaphore.h>

#include <atomic>
#include <thread>

namespace cirrus::bench {

/// What has to be there at least when requests are made on a thread of their own and a host's main
/// thread hears of progress: libcurl's multi interface over epoll, a hop there and back for each
/// request, and a hop to the main thread for each change. Carries out one request at a time.
class NetworkThread {
public:
    NetworkThread();
    NetworkThread(const NetworkThread&) = delete;
    NetworkThread& operator=(const NetworkThread&) = delete;
    ~NetworkThread();

    /// As `curl_easy_perform`, from another thread.
    CURLcode perform(CURL* easy);

    /// Wakes the main thread, for each call once.
    void tellMainThread() { ::sem_post(&mainThreadHasNews_); }

private:
    void run();
    void runMainThread();
    void wait();
    void begin();
    bool collect();
    void act(curl_socket_t socket, int events);
    static int socketChanged(CURL* easy, curl_socket_t socket, int what, void* self, void* socketp);
    static int timerChanged(CURLM* multi, long milliseconds, void* self);

    CURLM* multi_;
    int epoll_;
    int wakeup_;
    unsigned registered_ = 0; ///< what epoll looks for on the one connection
    long timer_ = -1;         ///< in milliseconds; negative when there is none
    CURL* current_ = nullptr;
    CURLcode code_ = CURLE_OK;
    std::atomic<CURL*> submitted_ = nullptr;
    std::atomic<bool> isStopping_ = false;
    sem_t isDone_{};
    sem_t mainThreadHasNews_{};
    std::jthread thread_;
    std::jthread mainThread_;
};

} // namespace cirrus::bench
