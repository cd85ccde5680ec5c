#include "emulator/HttpMessage.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

namespace cirrus::emulator {

namespace {

std::string decoded(std::string_view text, bool plusIsSpace) {
    std::string result;
    for (std::size_t at = 0; at < text.size(); ++at) {
        unsigned value = 0;
        const std::string_view digits = text.substr(at).substr(1, 2);
        const auto parsed = std::from_chars(digits.begin(), digits.end(), value, 16);
        if (text[at] == '%' && digits.size() == 2 && parsed.ptr == digits.end()) {
            result += static_cast<char>(value);
            at += 2;
        } else {
            result += plusIsSpace && text[at] == '+' ? ' ' : text[at];
        }
    }
    return result;
}

std::string_view usualReason(unsigned status) {
    struct Reason {
        unsigned status;
        std::string_view phrase;
    };

    static constexpr std::array<Reason, 16> reasons{{
        {200, "OK"},
        {201, "Created"},
        {204, "No Content"},
        {301, "Moved Permanently"},
        {302, "Found"},
        {304, "Not Modified"},
        {307, "Temporary Redirect"},
        {308, "Resume Incomplete"},
        {400, "Bad Request"},
        {401, "Unauthorized"},
        {403, "Forbidden"},
        {404, "Not Found"},
        {405, "Method Not Allowed"},
        {429, "Too Many Requests"},
        {500, "Internal Server Error"},
        {503, "Service Unavailable"},
    }};
    const auto* found = std::ranges::find(reasons, status, &Reason::status);
    return found != reasons.end() ? found->phrase : "Status";
}

char lower(char character) {
    const bool upper = character >= 'A' && character <= 'Z';
    return upper ? static_cast<char>(character - 'A' + 'a') : character;
}

} // namespace

const std::string* Request::header(std::string_view name) const {
    const auto found = std::ranges::find_if(
        headers, [&](const Header& header) { return equalIgnoringCase(header.name, name); });
    return found != headers.end() ? &found->value : nullptr;
}

const std::string* Request::queryItem(std::string_view name) const {
    const auto found = std::ranges::find(query, name, &QueryItem::name);
    return found != query.end() ? &found->value : nullptr;
}

Answer hangUp(Ending ending) {
    Answer answer;
    answer.cutAfter = 0;
    answer.ending = ending;
    return answer;
}

void readTarget(Request& request) {
    const std::string_view target = request.target;
    const std::size_t mark = std::min(target.find('?'), target.size());
    request.path = decoded(target.substr(0, mark), false);
    std::string_view rest = target.substr(std::min(mark + 1, target.size()));
    while (!rest.empty()) {
        const std::string_view item = rest.substr(0, rest.find('&'));
        const std::size_t equals = std::min(item.find('='), item.size());
        const std::string_view value = item.substr(std::min(equals + 1, item.size()));
        request.query.push_back(
            {.name = decoded(item.substr(0, equals), true), .value = decoded(value, true)});
        rest.remove_prefix(std::min(item.size() + 1, rest.size()));
    }
}

std::string wireBytes(const Answer& answer) {
    if (answer.raw) {
        return *answer.raw;
    }
    std::string text = "HTTP/1.1 " + std::to_string(answer.status) + " ";
    text += answer.reason.empty() ? usualReason(answer.status) : answer.reason;
    text += "\r\n";
    for (const Header& header : answer.headers) {
        text.append(header.name).append(": ").append(header.value).append("\r\n");
    }
    if (answer.body) {
        text += "Content-Length: " + std::to_string(answer.body->size()) + "\r\n";
    }
    text += "\r\n";
    return text + answer.body.value_or("");
}

bool equalIgnoringCase(std::string_view left, std::string_view right) {
    return std::ranges::equal(left, right, {}, lower, lower);
}

} // namespace cirrus::emulator
