#include <curl/curl.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <string_view>
#include <thread>

#include "bench/Contender.h"

namespace cirrus::bench {

namespace {

constexpr auto api = "https://www.googleapis.com/drive/v3/files";
constexpr auto uploads = "https://www.googleapis.com/upload/drive/v3/files?uploadType=resumable";
constexpr auto jsonType = "Content-Type: application/json; charset=utf-8";
constexpr auto noType = "Content-Type:";

/// What stands between `before` and the next `end`; empty when there is no `before`.
std::string between(std::string_view text, std::string_view before, char end) {
    const auto found = text.find(before);
    if (found == std::string_view::npos) {
        return {};
    }
    const auto start = found + before.size();
    return std::string(text.substr(start, text.find(end, start) - start));
}

std::size_t append(const char* bytes, std::size_t, std::size_t count, void* text) {
    static_cast<std::string*>(text)->append(bytes, count);
    return count;
}

/// Reads a whole file into `bytes`, which keeps its memory from file to file; false on failure.
bool readFile(const std::filesystem::path& path, std::string& bytes) {
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat attributes{};
    if (file < 0 || ::fstat(file, &attributes) != 0) {
        return false;
    }
    bytes.resize(static_cast<std::size_t>(attributes.st_size));
    std::size_t size = 0;
    ssize_t count = 0;
    while (size < bytes.size() &&
           (count = ::read(file, bytes.data() + size, bytes.size() - size)) > 0) {
        size += static_cast<std::size_t>(count);
    }
    ::close(file);
    return size == bytes.size();
}

/// One connection to the service.
class Connection {
public:
    explicit Connection(const Task& task) : easy_(curl_easy_init()) {
        authorization_ = "Authorization: Bearer " + task.token;
        peer_ = curl_slist_append(nullptr, ("::127.0.0.1:" + std::to_string(task.port)).c_str());
        std::string authority = task.authority;
        curl_blob blob{.data = authority.data(), .len = authority.size(), .flags = CURL_BLOB_COPY};
        set(CURLOPT_CONNECT_TO, peer_);
        set(CURLOPT_CAINFO_BLOB, &blob);
        set(CURLOPT_CAPATH, nullptr);
        set(CURLOPT_PROXY, "");
        set(CURLOPT_NOSIGNAL, 1L);
        set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
        set(CURLOPT_UPLOAD_BUFFERSIZE, 512L * 1024);
        set(CURLOPT_WRITEFUNCTION, &append);
        set(CURLOPT_WRITEDATA, &answer_);
        set(CURLOPT_HEADERFUNCTION, &append);
        set(CURLOPT_HEADERDATA, &head_);
        json_ = fields(jsonType);
        content_ = fields(noType);
    }

    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    ~Connection() {
        curl_easy_cleanup(easy_);
        for (curl_slist* list : {json_, content_, peer_}) {
            curl_slist_free_all(list);
        }
    }

    bool get(const std::string& url) {
        set(CURLOPT_HTTPGET, 1L);
        return perform(url, content_);
    }

    bool post(const std::string& url, const std::string& json) { return post(url, json, json_); }

    bool postContent(const std::string& url, std::string_view bytes) {
        return post(url, bytes, content_);
    }

    /// The id in the last answer.
    [[nodiscard]] std::string id() const { return between(answer_, "\"id\": \"", '"'); }

    /// The address in the last answer's head.
    [[nodiscard]] std::string location() const { return between(head_, "Location: ", '\r'); }

private:
    template <class Value>
    void set(CURLoption option, Value value) {
        curl_easy_setopt(easy_, option, value);
    }

    curl_slist* fields(const char* type) const {
        return curl_slist_append(
            curl_slist_append(curl_slist_append(nullptr, authorization_.c_str()), "Expect:"), type);
    }

    bool post(const std::string& url, std::string_view body, curl_slist* headers) {
        set(CURLOPT_POSTFIELDS, body.empty() ? "" : body.data());
        set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
        return perform(url, headers);
    }

    bool perform(const std::string& url, curl_slist* headers) {
        head_.clear();
        answer_.clear();
        set(CURLOPT_URL, url.c_str());
        set(CURLOPT_HTTPHEADER, headers);
        long status = 0;
        const auto code = curl_easy_perform(easy_);
        curl_easy_getinfo(easy_, CURLINFO_RESPONSE_CODE, &status);
        return code == CURLE_OK && status == 200;
    }

    CURL* easy_;
    std::string authorization_;
    curl_slist* peer_ = nullptr;
    curl_slist* json_ = nullptr;
    curl_slist* content_ = nullptr;
    std::string head_;
    std::string answer_;
};

std::string folderIn(const std::string& parent) {
    return "{\n  \"mimeType\": \"application/vnd.google-apps.folder\",\n"
           "  \"name\": \"Destination\",\n  \"parents\": [\n    \"" +
           parent + "\"\n  ]\n}";
}

std::string fileIn(const std::string& parent, const std::string& name) {
    return "{\n  \"name\": \"" + name + "\",\n  \"parents\": [\n    \"" + parent + "\"\n  ]\n}";
}

/// The id of a new destination folder; empty when there is none.
std::string destination(Connection& connection) {
    const std::string query = "?q=mimeType%20%3D%20%27application%2Fvnd.google-apps.folder%27"
                              "%20and%20name%20%3D%20%27Root%27";
    if (!connection.get(api + query)) {
        return {};
    }
    if (connection.id().empty() &&
        !connection.post(api, "{\n  \"mimeType\": \"application/vnd.google-apps.folder\",\n"
                              "  \"name\": \"Root\"\n}")) {
        return {};
    }
    return connection.post(api, folderIn(connection.id())) ? connection.id() : std::string();
}

bool shareFiles(const Task& task) {
    Connection connection(task);
    const std::string folder = destination(connection);
    std::string content;
    for (const auto& file : task.files) {
        const bool isSent = connection.post(uploads, fileIn(folder, file.filename().string())) &&
                            readFile(file, content) &&
                            connection.postContent(connection.location(), content);
        if (!isSent) {
            return false;
        }
    }
    const std::string address = api + ("/" + folder);
    return connection.post(address + "/permissions",
                           "{\n  \"role\": \"reader\",\n  \"type\": \"anyone\"\n}") &&
           connection.get(address + "?fields=id%2C%20kind%2C%20name%2C%20mimeType%2C%20"
                                    "webContentLink%2C%20webViewLink");
}

} // namespace

Outcome shareWithCurl(const Task& task) {
    curl_global_init(CURL_GLOBAL_DEFAULT);
    std::vector<char> isShared(task.jobs);
    std::vector<std::jthread> others;
    for (std::size_t job = 1; job < task.jobs; ++job) {
        others.emplace_back([&, job] { isShared[job] = shareFiles(task); });
    }
    isShared[0] = shareFiles(task);
    others.clear();
    if (!std::ranges::all_of(isShared, [](char shared) { return shared != 0; })) {
        return std::unexpected("a request failed");
    }
    return {};
}

} // namespace cirrus::bench
