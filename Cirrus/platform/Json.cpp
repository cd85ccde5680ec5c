#include "Cirrus/platform/Json.h"

#include <boost/json/basic_parser_impl.hpp>
#include <boost/json/src.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <utility>

namespace cirrus {

namespace {

using boost::json::error_code;
using boost::json::string_view;

constexpr std::size_t deepestNesting = 256;

/// Builds a `JsonValue` from the parser's events, so that no second tree is ever made. The names
/// are the parser's, which is given the whole text at once, so that a number comes in one part, and
/// which knows no comments unless it is told to.
class TreeBuilder {
public:
    static constexpr auto max_array_size = std::numeric_limits<std::size_t>::max();
    static constexpr auto max_object_size = max_array_size;
    static constexpr auto max_string_size = max_array_size;
    static constexpr auto max_key_size = max_array_size;

    static bool on_document_begin(error_code&) { return true; }

    static bool on_document_end(error_code&) { return true; }

    bool on_object_begin(error_code&) {
        JsonValue::Object object;
        if (open_.empty()) {
            constexpr std::size_t usualMembers = 4;
            object.reserve(usualMembers);
        }
        return open(std::move(object));
    }

    bool on_object_end(std::size_t, error_code&) { return close(); }

    bool on_array_begin(error_code&) { return open(JsonValue::Array{}); }

    bool on_array_end(std::size_t, error_code&) { return close(); }

    bool on_key_part(string_view part, std::size_t, error_code&) { return extend(key_, part); }

    bool on_key(string_view rest, std::size_t, error_code&) { return extend(key_, rest); }

    bool on_string_part(string_view part, std::size_t, error_code&) { return extend(text_, part); }

    bool on_string(string_view rest, std::size_t, error_code&) {
        extend(text_, rest);
        return add(std::exchange(text_, {}));
    }

    static bool on_number_part(string_view, error_code&) { return true; }

    bool on_int64(std::int64_t value, string_view, error_code&) { return add(value); }

    bool on_uint64(std::uint64_t value, string_view, error_code&) { return add(value); }

    /// Reads the number again, since the parser's value may be off by a little. That one serves
    /// when it is too small for a double.
    bool on_double(double value, string_view text, error_code& error) {
        const auto read = std::from_chars(text.data(), text.data() + text.size(), value);
        if (read.ec == std::errc::result_out_of_range && std::abs(value) >= 1) {
            error = boost::json::error::exponent_overflow;
            return false;
        }
        return add(value);
    }

    bool on_bool(bool value, error_code&) { return add(value); }

    bool on_null(error_code&) { return add(nullptr); }

    static bool on_comment_part(string_view, error_code&) { return true; }

    static bool on_comment(string_view, error_code&) { return true; }

    [[nodiscard]] JsonValue takeRoot() { return std::move(root_); }

private:
    static bool extend(std::string& text, string_view part) {
        text.append(part.data(), part.size());
        return true;
    }

    bool open(JsonValue container) {
        open_.push_back(&place(std::move(container)));
        return true;
    }

    bool close() {
        open_.pop_back();
        return true;
    }

    bool add(JsonValue value) {
        place(std::move(value));
        return true;
    }

    /// Puts a value where it belongs, and stays while it is open.
    JsonValue& place(JsonValue value) {
        if (open_.empty()) {
            return root_ = std::move(value);
        }
        if (auto* array = open_.back()->as<JsonValue::Array>()) {
            return array->emplace_back(std::move(value));
        }
        auto& object = *open_.back()->as<JsonValue::Object>();
        return object.emplace_back(std::exchange(key_, {}), std::move(value)).second;
    }

    JsonValue root_;
    std::vector<JsonValue*> open_; ///< from the root to where the parser is
    std::string key_;
    std::string text_;
};

/// Writes a value, each member and element on a line of its own.
class PrettyPrinter {
public:
    PrettyPrinter() {
        constexpr std::size_t usualLength = 256;
        text_.reserve(usualLength);
    }

    void write(const JsonValue& value) {
        value.visit([this](const auto& held) { write(held); });
    }

    [[nodiscard]] std::string takeText() { return std::move(text_); }

private:
    void write(const JsonValue::Array& array) {
        writeLines('[', array, ']', [this](const JsonValue& element) { write(element); });
    }

    void write(const JsonValue::Object& object) {
        writeLines('{', object, '}', [this](const JsonValue::Member& member) {
            write(member.first);
            text_ += ": ";
            write(member.second);
        });
    }

    void write(const std::string& text) {
        serializer_.reset(string_view(text));
        append();
    }

    template <class Scalar>
    void write(Scalar scalar) {
        const boost::json::value value(scalar);
        serializer_.reset(&value);
        append();
    }

    void append() {
        while (!serializer_.done()) {
            const auto piece = serializer_.read(room_.data(), room_.size());
            text_.append(piece.data(), piece.size());
        }
    }

    template <class List, class Write>
    void writeLines(char begin, const List& list, char end, Write writeOne) {
        text_ += begin;
        indent_.append(2, ' ');
        const char* separator = "";
        for (const auto& one : list) {
            text_.append(std::exchange(separator, ",")).append(indent_);
            writeOne(one);
        }
        indent_.resize(indent_.size() - 2);
        if (!list.empty()) {
            text_ += indent_;
        }
        text_ += end;
    }

    boost::json::serializer serializer_;
    std::array<char, 128> room_{};
    std::string text_;
    std::string indent_ = "\n";
};

bool isAscii(std::string_view text) {
    return std::ranges::all_of(
        text, [](char character) { return static_cast<unsigned char>(character) < 0x80; });
}

/// `Value` is const or not.
template <class Value>
Value* memberOf(Value& value, std::string_view key) {
    Value* last = nullptr;
    if (auto* object = value.template as<JsonValue::Object>()) {
        for (auto& [name, member] : *object) {
            last = name == key ? &member : last;
        }
    }
    return last;
}

} // namespace

const JsonValue* JsonValue::member(std::string_view key) const {
    return memberOf(*this, key);
}

JsonValue* JsonValue::member(std::string_view key) {
    return memberOf(*this, key);
}

std::optional<std::int64_t> JsonValue::wholeNumber() const {
    if (const auto* whole = as<std::int64_t>()) {
        return *whole;
    }
    // Neither bound counts: the upper one is the first double that no longer fits, and to the lower
    // one the parser rounds whole numbers that do not fit.
    constexpr double lowest = -9223372036854775808.0;
    constexpr double tooHigh = 9223372036854775808.0;
    const auto* real = as<double>();
    if (real == nullptr || *real <= lowest || *real >= tooHigh || std::trunc(*real) != *real) {
        return std::nullopt;
    }
    return static_cast<std::int64_t>(*real);
}

Result<JsonValue, JsonError> parseJson(std::string_view text) {
    boost::json::parse_options options;
    options.max_depth = deepestNesting;
    boost::json::basic_parser<TreeBuilder> parser(options);
    error_code error;
    const auto end = parser.write_some(false, text.data(), text.size(), error);
    if (error == boost::json::error::too_deep) {
        return std::unexpected(JsonError{"JSON nested too deeply"});
    }
    if (error || end < text.size()) {
        return std::unexpected(JsonError{"not JSON at byte " + std::to_string(end + 1)});
    }
    return parser.handler().takeRoot();
}

std::optional<std::string> writeJson(const JsonValue& value) {
    PrettyPrinter printer;
    printer.write(value);
    auto text = printer.takeText();
    // What is not UTF-8 the printer passes on, and the parser refuses.
    if (!isAscii(text) && !parseJson(text)) {
        return std::nullopt;
    }
    return text;
}

} // namespace cirrus
