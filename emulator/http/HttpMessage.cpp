#include <Cirrus/emulator/HttpMessage.h>

#include <algorithm>
#include <charconv>
#include <ranges>

#include <boost/beast/core/string.hpp>
#include <boost/beast/http/status.hpp>

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

} // namespace

const std::string* Request::header(std::string_view name) const {
    const auto found = std::ranges::find_if(
        headers, [&](const Header& header) { return boost::beast::iequals(header.name, name); });
    return found != headers.end() ? &found->value : nullptr;
}

const std::string* Request::queryItem(std::string_view name) const {
    const auto found = std::ranges::find(query, name, &QueryItem::name);
    return found != query.end() ? &found->value : nullptr;
}

Answer hangUp(Ending ending) {
    return {.cutAfter = 0, .ending = ending};
}

void readTarget(Request& request) {
    const std::string_view target = request.target;
    const std::size_t mark = std::min(target.find('?'), target.size());
    request.path = decoded(target.substr(0, mark), false);
    for (const auto part : target.substr(mark) | std::views::drop(1) | std::views::split('&')) {
        const std::string_view item(part.begin(), part.end());
        const std::size_t equals = std::min(item.find('='), item.size());
        const std::string_view value = item.substr(std::min(equals + 1, item.size()));
        request.query.push_back(
            {.name = decoded(item.substr(0, equals), true), .value = decoded(value, true)});
    }
}

std::string wireBytes(const Answer& answer) {
    if (answer.raw) {
        return *answer.raw;
    }
    const auto status = boost::beast::http::int_to_status(answer.status);
    std::string text = "HTTP/1.1 " + std::to_string(answer.status) + " ";
    text += boost::beast::http::obsolete_reason(status);
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

} // namespace cirrus::emulator
