// docs/wire.md shows the requests of a job byte by byte.

#include <gtest/gtest.h>
#include <stdlib.h>

#include <fstream>
#include <regex>

#include "Cirrus/webservice/GoogleWebservice.h"
#include "tests/support/Host.h"

namespace cirrus::tests {
namespace {

std::string bytesOf(const emulator::Request& request) {
    auto bytes = request.method + " " + request.target + " HTTP/1.1\n";
    for (const auto& header : request.headers) {
        bytes += header.name + ": " + header.value + "\n";
    }
    return bytes + (request.body.size > 0 ? "\n" + request.body.bytes() + "\n" : "");
}

std::string requestsOnThePage() {
    std::ifstream page(std::filesystem::path(CIRRUS_SOURCE_FOLDER) / "docs/wire.md");
    const auto all = std::string(std::istreambuf_iterator(page), {});
    std::string requests;
    const std::regex block("```http\n((?:GET|POST)[^`]*)```");
    for (std::sregex_iterator found(all.begin(), all.end(), block), end; found != end; ++found) {
        requests += (*found)[1].str() + "\n";
    }
    return requests;
}

TEST(WirePage, ShowsWhatIsSentByteByByte) {
    using namespace std::chrono_literals;
    Host host;
    const auto file = host.folder().write("notes.txt", "some words");
    ShareController controller({{file}, "Stashly", "Photos"}, host.drive().accessToken());
    ASSERT_TRUE(Host::uploadAndWait(controller)->results.at(0));
    const auto service = std::make_shared<GoogleWebservice>(host.drive().accessToken());
    ::setenv("TZ", "UTC0", 1);
    service->createPermission("v9WjS3GQuW9vxXqW_HpYhMCAqaMKoHxuy", "reader", "user",
                              "friend@example.com", "See you & bye",
                              std::chrono::sys_days(2035y / 7 / 5) + 12h, [](const auto&) {});
    ::unsetenv("TZ");
    Host::settle();
    auto sent = host.drive().snapshot().requests;
    ASSERT_EQ(sent.size(), 8U);
    std::swap(sent[6], sent[7]); // the page shows both grants together
    std::string bytes;
    for (const auto& request : sent) {
        bytes += bytesOf(request) + "\n";
    }
    bytes = std::regex_replace(bytes, std::regex(host.drive().accessToken()), "TOKEN");
    // Identifiers are random, but always as long.
    const std::regex identifier("[A-Za-z0-9_-]{33}");
    EXPECT_EQ(std::regex_replace(bytes, identifier, "ID"),
              std::regex_replace(requestsOnThePage(), identifier, "ID"));
}

} // namespace
} // namespace cirrus::tests
