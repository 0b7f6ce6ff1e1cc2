// Recursive descent over the words of one file.
#include "parser.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdlib>

#include <fmt/format.h>

#include "lexer.h"
#include "sha1.h"

namespace kzgen {

namespace {

// Thrown after an error is on record, to where the reading can go on.
struct SyntaxError {};

struct Attribute {
    Token name;
    std::optional<Token> argument;
};

using Attributes = std::vector<Attribute>;

enum class Argument { None, Text, Optional };

struct AttributeRule {
    std::string_view name;
    Argument argument;
};

constexpr std::array interfaceAttributes = {
    AttributeRule{"uuid", Argument::Text},   AttributeRule{"server", Argument::Text},
    AttributeRule{"symbol", Argument::Text}, AttributeRule{"adapter", Argument::Text},
    AttributeRule{"nowrap", Argument::None},
};
constexpr std::array methodAttributes = {
    AttributeRule{"inert", Argument::Optional},
    AttributeRule{"required", Argument::None},
};

std::string toUpper(std::string_view text) {
    std::string upper(text);
    std::transform(upper.begin(), upper.end(), upper.begin(), [](unsigned char c) { return std::toupper(c); });
    return upper;
}

class Parser {
public:
    Parser(const SourceFile& file, Diagnostics& diagnostics)
        : m_errors(diagnostics), m_lexed(lex(file, diagnostics)), m_tokens(m_lexed.tokens) {
        m_header.path = file.path;
        m_header.hash = toHex(sha1(file.text));
    }

    Header run() {
        guarded([this] { headerLine(); }, &Parser::skipDeclaration);
        while (peek().kind != TokenKind::End) {
            guarded([this] { declaration(); }, &Parser::skipDeclaration);
        }
        return std::move(m_header);
    }

private:
    // Words

    [[nodiscard]] const Token& peek() const { return m_tokens[m_next]; }
    [[nodiscard]] const Token& previous() const { return m_tokens[m_next - 1]; }
    [[nodiscard]] bool at(std::string_view text) const {
        return (peek().kind == TokenKind::Mark || peek().kind == TokenKind::Name) && peek().text == text;
    }
    Token take() { return peek().kind == TokenKind::End ? peek() : m_tokens[m_next++]; }
    bool accept(std::string_view text) {
        const bool found = at(text);
        if (found) {
            take();
        }
        return found;
    }
    [[noreturn]] void fail(std::string_view expected) {
        m_errors.error(peek().at, describe(peek()), expected);
        throw SyntaxError{};
    }
    void expect(std::string_view text) {
        if (!accept(text)) {
            fail(inQuotes(text));
        }
    }
    Token expectKind(TokenKind kind, std::string_view what) {
        if (peek().kind != kind) {
            fail(what);
        }
        return take();
    }
    Token expectName(std::string_view what) { return expectKind(TokenKind::Name, what); }

    // A forgotten ';' at the end of a line is reported, and reading goes on where the next line begins.
    void expectEnd() {
        if (accept(";")) {
            return;
        }
        m_errors.error(peek().at, describe(peek()), "';'");
        if (peek().at.line == previous().at.line) {
            throw SyntaxError{};
        }
    }

    // Going on after an error

    template <class Step> void guarded(Step step, void (Parser::*skip)()) {
        const size_t start = m_next;
        try {
            step();
        } catch (const SyntaxError&) {
            (this->*skip)();
            if (m_next == start) {
                take();  // an error on the very first word must not be met for ever
            }
        }
    }
    void skipDeclaration() {
        for (size_t depth = 0; peek().kind != TokenKind::End;) {
            const Token token = take();
            if (token.kind != TokenKind::Mark) {
                continue;
            }
            if (token.text == "{") {
                ++depth;
            } else if (token.text == "}" && depth > 0) {
                --depth;
            } else if (token.text == ";" && depth == 0) {
                return;
            }
        }
    }
    void skipMethod() {
        while (peek().kind != TokenKind::End && !at("}")) {
            if (accept(";")) {
                return;
            }
            take();
        }
    }

    // Declarations

    void headerLine() {
        const Token start = peek();
        expect("header");
        const Token name = expectName("the header's name");
        m_header.name = name.text;
        m_header.at = name.at;
        expectEnd();
        m_header.summary = m_lexed.comments.summary(start.at.line, previous().at.line);
    }

    void declaration() {
        const Token start = peek();
        const Attributes given = attributes();
        if (at("interface") || at("service")) {
            interfaceDeclaration(start, given);
        } else if (at("const")) {
            refuse(given);
            constantDeclaration(start);
        } else if (at("code") || at("error")) {
            refuse(given);
            codeDeclaration(start);
        } else {
            fail("'interface', 'service', 'const', 'code' or 'error'" +
                 didYouMean(peek().text, {"interface", "service", "const", "code", "error"}));
        }
    }

    void refuse(const Attributes& given) {
        if (!given.empty()) {
            m_errors.error(given.front().name.at, "attribute " + inQuotes(given.front().name.text),
                           "attributes on interfaces, services and methods alone");
        }
    }

    Attributes attributes() {
        Attributes all;
        if (!accept("[")) {
            return all;
        }
        do {
            Attribute attribute{expectName("an attribute"), std::nullopt};
            if (accept("(")) {
                attribute.argument = take();
                expect(")");
            }
            all.push_back(std::move(attribute));
        } while (accept(","));
        expect("]");
        return all;
    }

    // Holds the attributes against what may stand here; what does not fit is reported and left out.
    template <size_t N> Attributes checked(const Attributes& given, const std::array<AttributeRule, N>& rules) {
        Attributes good;
        for (const Attribute& attribute : given) {
            const auto* rule = std::find_if(rules.begin(), rules.end(),
                                            [&](const AttributeRule& r) { return r.name == attribute.name.text; });
            const bool again = std::any_of(good.begin(), good.end(), [&](const Attribute& earlier) {
                return earlier.name.text == attribute.name.text;
            });
            if (rule == rules.end()) {
                unknownAttribute(attribute, rules);
            } else if (again) {
                m_errors.error(attribute.name.at, "attribute " + inQuotes(attribute.name.text) + " again", "it once");
            } else if (fits(attribute, rule->argument)) {
                good.push_back(attribute);
            }
        }
        return good;
    }

    template <size_t N> void unknownAttribute(const Attribute& attribute, const std::array<AttributeRule, N>& rules) {
        std::vector<std::string_view> names;
        std::string list;
        for (const AttributeRule& rule : rules) {
            names.push_back(rule.name);
            list += (list.empty() ? "" : ", ") + std::string(rule.name);
        }
        m_errors.error(attribute.name.at, "attribute " + inQuotes(attribute.name.text),
                       "one of " + list + didYouMean(attribute.name.text, names));
    }

    bool fits(const Attribute& attribute, Argument wanted) {
        const bool has = attribute.argument.has_value();
        if (wanted == Argument::Text && (!has || attribute.argument->kind != TokenKind::Text)) {
            m_errors.error(has ? attribute.argument->at : attribute.name.at,
                           has ? describe(*attribute.argument) : inQuotes(attribute.name.text) + " without a value",
                           fmt::format("{}(\"TEXT\")", attribute.name.text));
            return false;
        }
        if (wanted == Argument::None && has) {
            m_errors.error(attribute.argument->at, describe(*attribute.argument),
                           inQuotes(attribute.name.text) + " without a value");
            return false;
        }
        return true;
    }

    void interfaceDeclaration(const Token& start, const Attributes& given) {
        Interface made;
        made.service = take().text == "service";
        const Token name = expectName(made.service ? "the service's name" : "the interface's name");
        made.name = name.text;
        made.at = name.at;
        made.symbol = toUpper(made.stem());
        made.summary = m_lexed.comments.summary(start.at.line, name.at.line);
        applyAttributes(made, given);
        expect("{");
        while (!at("}") && peek().kind != TokenKind::End) {
            guarded([&] { made.methods.push_back(method()); }, &Parser::skipMethod);
        }
        const bool closed = accept("}");
        m_header.interfaces.push_back(std::move(made));
        if (!closed) {
            fail("a method or '}'");
        }
        expectEnd();
    }

    void applyAttributes(Interface& made, const Attributes& given) {
        for (const Attribute& attribute : checked(given, interfaceAttributes)) {
            const std::string& name = attribute.name.text;
            if (name == "uuid") {
                made.guid = {attribute.argument->text, attribute.argument->at};
            } else if (name == "server") {
                made.server = attribute.argument->text;
            } else if (name == "symbol") {
                made.symbol = attribute.argument->text;
            } else if (name == "adapter") {
                made.adapter = attribute.argument->text;
            } else {
                made.wrapped = false;
            }
        }
        if (made.guid.text.empty()) {
            m_errors.error(made.at, inQuotes(made.name) + " without an identity",
                           fmt::format("[uuid(\"...\")], as 'kzgen mint {}' makes it", made.name));
        }
    }

    // Methods

    Method method() {
        const Token start = peek();
        Method made;
        const Attributes given = attributes();
        made.returns = type(useReturn);
        const Token name = expectName("the method's name");
        made.name = name.text;
        made.at = name.at;
        applyAttributes(made, given);
        expect("(");
        if (!at(")")) {
            do {
                made.parameters.push_back(parameter());
            } while (accept(","));
        }
        if (!accept(")")) {
            fail("',' or ')'");
        }
        expectEnd();
        made.summary = m_lexed.comments.summary(start.at.line, previous().at.line);
        return made;
    }

    void applyAttributes(Method& made, const Attributes& given) {
        for (const Attribute& attribute : checked(given, methodAttributes)) {
            if (attribute.name.text == "required") {
                made.required = true;
            } else if (!attribute.argument) {
                made.inert = Inert::Nothing;
            } else if (attribute.argument->text == "NOTIMPL") {
                made.inert = Inert::NotImplemented;
            } else if (attribute.argument->text == "0") {
                made.inert = Inert::Zero;
            } else {
                m_errors.error(attribute.argument->at, describe(*attribute.argument), "NOTIMPL or 0");
            }
        }
    }

    Parameter parameter() {
        Parameter made;
        made.output = accept("out");
        made.type = type(made.output ? useOutput : useInput);
        const Token name = expectName("the parameter's name");
        made.name = name.text;
        made.at = name.at;
        return made;
    }

    // A kind with what belongs to it. An unknown kind is reported and stands in as one that causes no further errors.
    Type type(KindUse use) {
        Type made;
        const Token name = expectName(use == useReturn ? "a return kind" : "a kind");
        made.at = name.at;
        const bool array = accept("[");
        if (array && !accept("]")) {
            made.length = arrayLength();
            expect("]");
        }
        const KindInfo* row = array ? findArrayKind(name.text) : findKind(name.text);
        if (row == nullptr || !row->is(use)) {
            unfit(name, array, row, use);
            made.length.clear();
        }
        made.kind = row == nullptr ? Kind::Uint : row->kind;
        if (accept("<")) {
            made.name = angleName(name);
            expect(">");
        }
        return made;
    }

    std::string arrayLength() {
        if (peek().kind == TokenKind::Number) {
            return take().text;
        }
        return expectName("']', a number or the name of an integer input").text;
    }

    std::string angleName(const Token& kind) {
        if (kind.text != "object" && kind.text != "pointer") {
            m_errors.error(kind.at, inQuotes(kind.text + "<"), "'object<' or 'pointer<'");
        }
        if (kind.text == "object") {
            return expectName("the interface's name").text;
        }
        const std::string constant = accept("const") ? "const " : "";
        return constant + expectName("the struct's name").text;
    }

    void unfit(const Token& name, bool array, const KindInfo* row, KindUse use) {
        const std::string shown = inQuotes(array ? name.text + "[]" : name.text);
        const std::string place = use == useReturn  ? "to be returned"
                                  : use == useInput ? "as an input"
                                                    : "as an output";
        if (row != nullptr) {
            m_errors.error(name.at, shown, "a kind that can stand " + place);
        } else {
            m_errors.error(name.at, shown,
                           (array ? "the element of an array" : "a kind") + didYouMean(name.text, kindNames(array)));
        }
    }

    // Constants

    void constantDeclaration(const Token& start) {
        take();
        Constant made;
        const Token name = expectName("the constant's name");
        made.name = name.text;
        made.at = name.at;
        expect("=");
        made.value = value();
        expectEnd();
        made.summary = m_lexed.comments.summary(start.at.line, previous().at.line);
        m_header.constants.push_back(std::move(made));
    }

    void codeDeclaration(const Token& start) {
        Code made;
        made.headerOwn = take().text == "error";
        const Token name = expectName("the code's name");
        made.name = name.text;
        made.at = name.at;
        expect("=");
        const Token number = expectKind(TokenKind::Number, "the code's value");
        const IntegerValue read = integer(number);
        if (read.value < 0 || read.value > int64_t{UINT32_MAX} || read.isLong) {
            m_errors.error(number.at, describe(number), "an unsigned value of 32 bits");
        }
        made.value = static_cast<uint32_t>(read.value);
        expectEnd();
        made.summary = m_lexed.comments.summary(start.at.line, previous().at.line);
        m_header.codes.push_back(std::move(made));
    }

    Value value() {
        if (accept("uuid")) {
            expect("(");
            const Token text = expectKind(TokenKind::Text, "an identity in quotes");
            expect(")");
            return Guid{text.text, text.at};
        }
        if (peek().kind == TokenKind::Text) {
            return TextValue{take().text};
        }
        if (peek().kind == TokenKind::CharCode) {
            return charCode(take());
        }
        const Token number = expectKind(TokenKind::Number, "a number, a text, a four-character code or uuid(\"...\")");
        const bool hex = number.text.find_first_of("xX") != std::string::npos;
        if (!hex && number.text.find_first_of(".eE") != std::string::npos) {
            return real(number);
        }
        return integer(number);
    }

    IntegerValue charCode(const Token& token) {
        IntegerValue made;
        for (const char c : token.text) {
            made.value = made.value << 8 | static_cast<uint8_t>(c);
        }
        made.written = inQuotes(token.text);
        made.isLong = at("L") && accept("L");
        return made;
    }

    IntegerValue integer(const Token& token) {
        IntegerValue made;
        made.written = token.text;
        std::string_view digits = made.written;
        const bool negative = digits.starts_with('-');
        digits.remove_prefix(negative ? 1 : 0);
        made.isLong = digits.ends_with('L');
        digits.remove_suffix(made.isLong ? 1 : 0);
        const bool hex = digits.starts_with("0x") || digits.starts_with("0X");
        digits.remove_prefix(hex ? 2 : 0);
        uint64_t magnitude = 0;
        const auto [end, error] =
            std::from_chars(digits.data(), digits.data() + digits.size(), magnitude, hex ? 16 : 10);
        if (error != std::errc() || end != digits.data() + digits.size() || magnitude > uint64_t{INT64_MAX}) {
            m_errors.error(token.at, describe(token), "a decimal or hexadecimal integer of at most 63 bits");
            return made;
        }
        made.value = negative ? -static_cast<int64_t>(magnitude) : static_cast<int64_t>(magnitude);
        return made;
    }

    RealValue real(const Token& token) {
        char* end = nullptr;
        RealValue made{std::strtod(token.text.c_str(), &end), token.text};
        if (*end != '\0' || token.text.find('.') == std::string::npos) {
            m_errors.error(token.at, describe(token), "a real number with a point, such as 0.5");
        }
        return made;
    }

    Diagnostics& m_errors;
    LexedFile m_lexed;
    const std::vector<Token>& m_tokens;
    size_t m_next = 0;
    Header m_header;
};

}  // namespace

Header parse(const SourceFile& file, Diagnostics& diagnostics) { return Parser(file, diagnostics).run(); }

}  // namespace kzgen
