#include "emulator/Query.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace cirrus::emulator {

namespace {

constexpr int deepestNesting = 100;

enum class TokenKind { word, text, symbol, end, broken };

struct Token {
    TokenKind kind = TokenKind::end;
    std::string value;

    [[nodiscard]] bool isWord(std::string_view word) const {
        return kind == TokenKind::word && value == word;
    }

    [[nodiscard]] bool isSymbol(std::string_view symbol) const {
        return kind == TokenKind::symbol && value == symbol;
    }
};

bool isWordCharacter(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

class Lexer {
public:
    explicit Lexer(std::string_view text) : rest_(text) {}

    Token next() {
        rest_.remove_prefix(std::min(rest_.find_first_not_of(' '), rest_.size()));
        if (rest_.empty()) {
            return {};
        }
        if (rest_.front() == '\'') {
            return readText();
        }
        for (const std::string_view symbol : {"(", ")", "=", "!="}) {
            if (rest_.starts_with(symbol)) {
                return take(TokenKind::symbol, symbol.size());
            }
        }
        const auto* wordEnd = std::ranges::find_if_not(rest_, isWordCharacter);
        const auto size = static_cast<std::size_t>(wordEnd - rest_.begin());
        return size > 0 ? take(TokenKind::word, size) : Token{TokenKind::broken, {}};
    }

private:
    Token take(TokenKind kind, std::size_t size) {
        Token token{kind, std::string(rest_.substr(0, size))};
        rest_.remove_prefix(size);
        return token;
    }

    /// A backslash escapes a quote or a backslash, nothing else.
    Token readText() {
        Token token{TokenKind::text, {}};
        for (std::size_t at = 1; at < rest_.size(); ++at) {
            if (rest_[at] == '\'') {
                rest_.remove_prefix(at + 1);
                return token;
            }
            if (rest_[at] == '\\') {
                ++at;
                if (at == rest_.size() || (rest_[at] != '\'' && rest_[at] != '\\')) {
                    break;
                }
            }
            token.value += rest_[at];
        }
        return {TokenKind::broken, {}};
    }

    std::string_view rest_;
};

class Parser {
public:
    Parser(std::string_view text, const std::string& rootId) : lexer_(text), rootId_(rootId) {
        advance();
    }

    std::optional<FileFilter> wholeText() {
        const std::optional<FileFilter> filter = expression();
        return token_.kind == TokenKind::end ? filter : std::nullopt;
    }

private:
    Token advance() { return std::exchange(token_, lexer_.next()); }

    /// Drive evaluates `and` and `or` from left to right; neither binds tighter.
    std::optional<FileFilter> expression() {
        std::optional<FileFilter> left = term();
        while (left && (token_.isWord("and") || token_.isWord("or"))) {
            const bool both = advance().value == "and";
            std::optional<FileFilter> right = term();
            if (!right) {
                return std::nullopt;
            }
            left = [both, first = std::move(*left), second = std::move(*right)](const File& file) {
                return both ? first(file) && second(file) : first(file) || second(file);
            };
        }
        return left;
    }

    std::optional<FileFilter> term() {
        if (++depth_ > deepestNesting) {
            return std::nullopt;
        }
        const Token first = advance();
        std::optional<FileFilter> filter;
        if (first.isSymbol("(")) {
            filter = expression();
            filter = advance().isSymbol(")") ? std::move(filter) : std::nullopt;
        } else if (first.isWord("not")) {
            filter = negated(term());
        } else if (first.kind == TokenKind::text) {
            filter = parentTest(first.value);
        } else if (first.isWord("trashed")) {
            filter = trashedTest();
        } else if (first.isWord("name")) {
            filter = textTest(&File::name, true);
        } else if (first.isWord("mimeType")) {
            filter = textTest(&File::mimeType, false);
        }
        --depth_;
        return filter;
    }

    static std::optional<FileFilter> negated(std::optional<FileFilter> filter) {
        if (!filter) {
            return std::nullopt;
        }
        return [inner = std::move(*filter)](const File& file) { return !inner(file); };
    }

    std::optional<FileFilter> parentTest(const std::string& parent) {
        if (!advance().isWord("in") || !advance().isWord("parents")) {
            return std::nullopt;
        }
        return [id = parent == "root" ? rootId_ : parent](const File& file) {
            return std::ranges::find(file.parents, id) != file.parents.end();
        };
    }

    std::optional<FileFilter> trashedTest() {
        const Token comparison = advance();
        const Token value = advance();
        const bool equal = comparison.isSymbol("=");
        if ((!equal && !comparison.isSymbol("!=")) ||
            (!value.isWord("true") && !value.isWord("false"))) {
            return std::nullopt;
        }
        return [wanted = value.isWord("true") == equal](const File& file) {
            return file.trashed == wanted;
        };
    }

    std::optional<FileFilter> textTest(std::string File::* field, bool mayContain) {
        const Token comparison = advance();
        const Token value = advance();
        if (value.kind != TokenKind::text) {
            return std::nullopt;
        }
        if (comparison.isSymbol("=") || comparison.isSymbol("!=")) {
            return [field, wanted = value.value, equal = comparison.isSymbol("=")](
                       const File& file) { return (file.*field == wanted) == equal; };
        }
        if (mayContain && comparison.isWord("contains")) {
            // Of names, Drive matches the beginning only.
            return [field, prefix = value.value](const File& file) {
                return equalIgnoringCase((file.*field).substr(0, prefix.size()), prefix);
            };
        }
        return std::nullopt;
    }

    Lexer lexer_;
    const std::string& rootId_;
    Token token_;
    int depth_ = 0;
};

} // namespace

std::optional<FileFilter> parseQuery(std::string_view text, const std::string& rootId) {
    return Parser(text, rootId).wholeText();
}

} // namespace cirrus::emulator
