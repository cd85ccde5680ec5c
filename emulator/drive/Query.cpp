#include "emulator/drive/Query.h"

#include <algorithm>
#include <utility>

namespace cirrus::emulator {

namespace {

/// Reads an expression from left to right; `rest_` is what it has not read yet.
class Parser {
public:
    Parser(std::string_view text, const std::string& rootId) : rest_(text), rootId_(rootId) {}

    std::optional<FileFilter> parse() {
        skipBlanks();
        std::vector<FileFilter> terms;
        do {
            auto filter = term();
            if (!filter) {
                return std::nullopt;
            }
            terms.push_back(*std::move(filter));
        } while (skip("and"));
        if (!rest_.empty()) {
            return std::nullopt;
        }
        return [terms = std::move(terms)](const DriveFile& file) {
            return std::ranges::all_of(terms, [&](const auto& matches) { return matches(file); });
        };
    }

private:
    std::optional<FileFilter> term() {
        if (skip("name")) {
            return textTest(&DriveFile::name);
        }
        if (skip("mimeType")) {
            return textTest(&DriveFile::mimeType);
        }
        if (skip("trashed") && skip("=")) {
            const bool wanted = skip("true");
            if (!wanted && !skip("false")) {
                return std::nullopt;
            }
            return [wanted](const DriveFile& file) { return file.trashed == wanted; };
        }
        const auto parent = quotedText();
        if (!parent || !skip("in") || !skip("parents")) {
            return std::nullopt;
        }
        return [id = *parent == "root" ? rootId_ : *parent](const DriveFile& file) {
            return std::ranges::find(file.parents, id) != file.parents.end();
        };
    }

    std::optional<FileFilter> textTest(std::string DriveFile::* field) {
        auto wanted = skip("=") ? quotedText() : std::nullopt;
        if (!wanted) {
            return std::nullopt;
        }
        return [field, wanted = *std::move(wanted)](const DriveFile& file) {
            return file.*field == wanted;
        };
    }

    bool skip(std::string_view word) {
        skipBlanks();
        const bool found = rest_.starts_with(word);
        rest_.remove_prefix(found ? word.size() : 0);
        skipBlanks();
        return found;
    }

    void skipBlanks() { rest_.remove_prefix(std::min(rest_.find_first_not_of(' '), rest_.size())); }

    std::optional<std::string> quotedText() {
        std::string text;
        for (std::size_t at = 1; rest_.starts_with('\'') && at < rest_.size(); ++at) {
            if (rest_[at] == '\'') {
                rest_.remove_prefix(at + 1);
                skipBlanks();
                return text;
            }
            const bool isEscape = rest_[at] == '\\';
            at += isEscape ? 1 : 0;
            if (at == rest_.size() || (isEscape && rest_[at] != '\'' && rest_[at] != '\\')) {
                return std::nullopt;
            }
            text += rest_[at];
        }
        return std::nullopt;
    }

    std::string_view rest_;
    const std::string& rootId_;
};

} // namespace

std::optional<FileFilter> parseQuery(std::string_view text, const std::string& rootId) {
    return Parser(text, rootId).parse();
}

} // namespace cirrus::emulator
