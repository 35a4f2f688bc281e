#include "store/indexes/detail/queryText.h"

#include <algorithm>
#include <cctype>

#include "store/detail/StatementRun.h"

namespace qsml::detail {

namespace {

bool isWordByte(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return std::isalnum(byte) || c == '_' || byte >= 0x80;
}

bool isWord(std::string_view word, std::string_view lowerCase) {
    return std::equal(
        word.begin(), word.end(), lowerCase.begin(), lowerCase.end(),
        [](char a, char b) { return std::tolower(static_cast<unsigned char>(a)) == b; });
}

/// Walks over the text once, token by token.
class Reader {
public:
    explicit Reader(const YapDatabaseQuery& query) : query_(query), text_(query.text()) {}

    QueryText read() {
        while (position_ < text_.size() && result_.fault.empty()) next();
        if (depth_ != 0 && result_.fault.empty()) fail("a parenthesis is not closed");
        if (parameter_ != query_.parameters().size() && result_.fault.empty())
            fail("there are more parameters than question marks");
        if (!isOrdered_) {
            // The line end closes a comment.
            const std::string order = "\nORDER BY rowid ";
            result_.text.insert(limit_ == none ? result_.text.size() : limit_, order);
        }
        return std::move(result_);
    }

private:
    static constexpr std::size_t none = std::string::npos;

    void fail(std::string_view why) { result_.fault = why; }
    void copy(std::size_t size) {
        result_.text.append(text_.substr(position_, size));
        position_ += size;
    }
    /// Up to and with the end mark; false when there is none.
    bool copyThrough(std::string_view end, std::size_t from, std::string_view missing) {
        const std::size_t found = text_.find(end, position_ + from);
        if (found == none) return fail(missing), false;
        copy(found + end.size() - position_);
        return true;
    }

    void next() {
        const char c = text_[position_];
        const std::string_view rest = text_.substr(position_);
        if (c == '\'' || c == '"' || c == '`') {
            copyThrough(std::string_view(&c, 1), 1, "a quotation is not closed");
        } else if (c == '[') {
            copyThrough("]", 1, "a quotation is not closed");
        } else if (rest.substr(0, 2) == "--") {
            copy(std::min(rest.find('\n'), rest.size()));
        } else if (rest.substr(0, 2) == "/*") {
            copyThrough("*/", 2, "a comment is not closed");
        } else if (isWordByte(c)) {
            word();
        } else {
            sign(c);
        }
    }

    void word() {
        std::size_t size = 0;
        while (position_ + size < text_.size() && isWordByte(text_[position_ + size])) ++size;
        const std::string_view found = text_.substr(position_, size);
        if (depth_ == 0 && isWord(found, "order")) isOrdered_ = true;
        if (depth_ == 0 && isWord(found, "limit") && limit_ == none) limit_ = result_.text.size();
        copy(size);
    }

    void sign(char c) {
        if (c == '?') return parameter();
        if (c == ';') return fail("it holds a semicolon");
        if (c == '\0') return fail("it holds a zero byte");
        if (c == ':' || c == '@' || c == '$' || c == '#')
            return fail("parameters can only be question marks");
        depth_ += c == '(' ? 1 : c == ')' ? -1 : 0;
        if (depth_ < 0) return fail("a parenthesis is not open");
        copy(1);
    }

    void parameter() {
        ++position_;
        if (position_ < text_.size() && isWordByte(text_[position_]))
            return fail("parameters cannot be numbered");
        if (parameter_ == query_.parameters().size())
            return fail("there are more question marks than parameters");
        const Value& value = query_.parameters()[parameter_++];
        if (!value.isCollection()) return add(value);
        bool isFirst = true;
        for (const Value& element : value.elements()) {
            if (!isFirst) result_.text += ',';
            isFirst = false;
            add(element);
        }
    }

    void add(const Value& value) {
        const bool isNothing = value.isNil() || value.kind() == Value::Kind::null;
        if (!isNothing && !value.isNumber() && !isColumnValue(value))
            return fail("a parameter is of a kind that columns cannot hold");
        result_.text += '?';
        result_.values.push_back(&value);
    }

    const YapDatabaseQuery& query_;
    std::string_view text_;
    QueryText result_;
    std::size_t position_ = 0, parameter_ = 0, limit_ = none;
    int depth_ = 0;
    bool isOrdered_ = false;
};

}  // namespace

QueryText preparedQueryText(const YapDatabaseQuery& query) { return Reader(query).read(); }

}  // namespace qsml::detail
