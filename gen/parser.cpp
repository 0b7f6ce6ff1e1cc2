// Recursive descent over the words of one file.
#include "parser.h"

#include <algorithm>
#include <cctype>

#include <fmt/format.h>

#include "attributes.h"
#include "literals.h"
#include "sha1.h"
#include "token_stream.h"

namespace kzgen {

namespace {

const AttributeRules interfaceAttributes = {
    {"uuid", Argument::Text},    {"server", Argument::Text}, {"symbol", Argument::Text},
    {"adapter", Argument::Text}, {"nowrap", Argument::None}, {"nosymbol", Argument::None},
};
const AttributeRules methodAttributes = {
    {"inert", Argument::Optional}, {"required", Argument::None}, {"again", Argument::None}};

std::string toUpper(std::string_view text) {
    std::string upper(text);
    std::transform(upper.begin(), upper.end(), upper.begin(), [](unsigned char c) { return std::toupper(c); });
    return upper;
}

class Parser {
public:
    Parser(const SourceFile& file, Diagnostics& diagnostics) : m_errors(diagnostics), m_tokens(file, diagnostics) {
        m_header.path = file.path;
        m_header.hash = toHex(sha1(file.text));
    }

    Header run() {
        guarded([this] { headerLine(); }, &TokenStream::skipDeclaration);
        while (!m_tokens.atEnd()) {
            guarded([this] { declaration(); }, &TokenStream::skipDeclaration);
        }
        return std::move(m_header);
    }

private:
    // Runs a step; where it meets an error, the reading goes on behind what `skip` passes over.
    template <class Step> void guarded(Step step, void (TokenStream::*skip)()) {
        try {
            step();
        } catch (const SyntaxError&) {
            (m_tokens.*skip)();
        }
    }

    // Declarations

    void headerLine() {
        const Token start = m_tokens.peek();
        m_tokens.expect("header");
        const Token name = m_tokens.expectName("the header's name");
        m_header.name = name.text;
        m_header.at = name.at;
        m_tokens.expectEnd();
        m_header.summary = m_tokens.summaryFrom(start);
    }

    void declaration() {
        const Token start = m_tokens.peek();
        const Attributes given = readAttributes(m_tokens);
        if (m_tokens.at("interface") || m_tokens.at("service")) {
            interfaceDeclaration(start, given);
        } else if (m_tokens.at("const")) {
            fitting(given, {}, m_errors);
            constantDeclaration(start);
        } else if (m_tokens.at("code") || m_tokens.at("error")) {
            fitting(given, {}, m_errors);
            codeDeclaration(start);
        } else if (m_tokens.at("table")) {
            fitting(given, {}, m_errors);
            tableDeclaration(start);
        } else {
            m_tokens.fail(
                "'interface', 'service', 'const', 'code', 'error' or 'table'" +
                didYouMean(m_tokens.peek().text, {"interface", "service", "const", "code", "error", "table"}));
        }
    }

    void interfaceDeclaration(const Token& start, const Attributes& given) {
        Interface made;
        made.service = m_tokens.take().text == "service";
        const Token name = m_tokens.expectName(made.service ? "the service's name" : "the interface's name");
        made.name = name.text;
        made.at = name.at;
        made.symbol = toUpper(made.stem());
        made.summary = m_tokens.summaryFrom(start);
        applyAttributes(made, given);
        m_tokens.expect("{");
        while (!m_tokens.at("}") && !m_tokens.atEnd()) {
            guarded([&] { made.methods.push_back(method()); }, &TokenStream::skipMethod);
        }
        const bool closed = m_tokens.accept("}");
        m_header.interfaces.push_back(std::move(made));
        if (!closed) {
            m_tokens.fail("a method or '}'");
        }
        m_tokens.expectEnd();
    }

    void applyAttributes(Interface& made, const Attributes& given) {
        for (const Attribute& attribute : fitting(given, interfaceAttributes, m_errors)) {
            const std::string& name = attribute.name.text;
            if (name == "uuid") {
                made.guid = {attribute.argument->text, attribute.argument->at};
            } else if (name == "server") {
                made.server = attribute.argument->text;
            } else if (name == "symbol") {
                made.symbol = attribute.argument->text;
            } else if (name == "adapter") {
                made.adapter = attribute.argument->text;
            } else if (name == "nosymbol") {
                made.hasSymbol = false;
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
        const Token start = m_tokens.peek();
        Method made;
        const Attributes given = readAttributes(m_tokens);
        made.returns = type(useReturn);
        const Token name = m_tokens.expectName("the method's name");
        made.name = name.text;
        made.at = name.at;
        applyAttributes(made, given);
        m_tokens.expect("(");
        if (!m_tokens.at(")")) {
            do {
                made.parameters.push_back(parameter());
            } while (m_tokens.accept(","));
        }
        if (!m_tokens.accept(")")) {
            m_tokens.fail("',' or ')'");
        }
        m_tokens.expectEnd();
        made.summary = m_tokens.summaryFrom(start);
        return made;
    }

    void applyAttributes(Method& made, const Attributes& given) {
        for (const Attribute& attribute : fitting(given, methodAttributes, m_errors)) {
            if (attribute.name.text == "required") {
                made.required = true;
            } else if (attribute.name.text == "again") {
                made.again = true;
            } else if (!attribute.argument) {
                made.inert = Inert::Nothing;
            } else if (attribute.argument->text == "NOTIMPL") {
                made.inert = Inert::NotImplemented;
            } else if (attribute.argument->text == "0") {
                made.inert = Inert::Zero;
            } else {
                m_tokens.reject(*attribute.argument, "NOTIMPL or 0");
            }
        }
    }

    Parameter parameter() {
        Parameter made;
        made.output = m_tokens.accept("out");
        made.type = type(made.output ? useOutput : useInput);
        const Token name = m_tokens.expectName("the parameter's name");
        made.name = name.text;
        made.at = name.at;
        return made;
    }

    // A kind with what belongs to it. An unknown kind is reported and stands in as one that causes no further errors.
    Type type(KindUse use) {
        Type made;
        const Token name = m_tokens.expectName(use == useReturn ? "a return kind" : "a kind");
        made.at = name.at;
        const bool array = m_tokens.accept("[");
        if (array && !m_tokens.accept("]")) {
            if (m_tokens.peek().kind == TokenKind::Text) {
                made.unsized = m_tokens.take().text;
            } else {
                do {
                    made.length.push_back(arrayFactor());
                } while (m_tokens.accept("*"));
            }
            m_tokens.expect("]");
        }
        const KindInfo* row = array ? findArrayKind(name.text) : findKind(name.text);
        if (row == nullptr || !row->is(use)) {
            unfit(name, array, row, use);
            made.length.clear();
            made.unsized = "reported";
        }
        made.kind = row == nullptr ? Kind::Uint : row->kind;
        if (m_tokens.accept("<")) {
            made.name = angleName(name);
            m_tokens.expect(">");
        }
        return made;
    }

    // NUMBER, PARAMETER, TABLE[PARAMETER] or METHOD(PARAMETER, ...)
    Factor arrayFactor() {
        if (m_tokens.peek().kind == TokenKind::Number) {
            const Token number = m_tokens.take();
            return {Factor::Kind::Number, number.text, {}, number.at};
        }
        const Token name = m_tokens.expectName("a length, or in quotes the reason why there is none");
        Factor made{Factor::Kind::Counted, name.text, {}, name.at};
        if (m_tokens.accept("[")) {
            made.kind = Factor::Kind::Looked;
            made.arguments.push_back(m_tokens.expectName("the name of an integer parameter").text);
            m_tokens.expect("]");
        } else if (m_tokens.accept("(")) {
            made.kind = Factor::Kind::Asked;
            while (!m_tokens.accept(")")) {
                made.arguments.push_back(m_tokens.expectName("')' or the name of an input").text);
                m_tokens.accept(",");
            }
        }
        return made;
    }

    std::string angleName(const Token& kind) {
        if (kind.text != "object" && kind.text != "pointer") {
            m_errors.error(kind.at, inQuotes(kind.text + "<"), "'object<' or 'pointer<'");
        }
        if (kind.text == "object") {
            return m_tokens.expectName("the interface's name").text;
        }
        const std::string constant = m_tokens.accept("const") ? "const " : "";
        return constant + m_tokens.expectName("the struct's name").text;
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
        m_tokens.take();
        Constant made;
        const Token name = m_tokens.expectName("the constant's name");
        made.name = name.text;
        made.at = name.at;
        m_tokens.expect("=");
        made.value = value();
        m_tokens.expectEnd();
        made.summary = m_tokens.summaryFrom(start);
        made.group = group(start);
        m_header.constants.push_back(std::move(made));
    }

    void codeDeclaration(const Token& start) {
        Code made;
        made.headerOwn = m_tokens.take().text == "error";
        const Token name = m_tokens.expectName("the code's name");
        made.name = name.text;
        made.at = name.at;
        m_tokens.expect("=");
        const Token number = m_tokens.expectKind(TokenKind::Number, "the code's value");
        const IntegerValue read = integerLiteral(number, m_errors);
        if (read.value < 0 || read.value > int64_t{UINT32_MAX} || read.isLong) {
            m_tokens.reject(number, "an unsigned value of 32 bits");
        }
        made.value = static_cast<uint32_t>(read.value);
        m_tokens.expectEnd();
        made.summary = m_tokens.summaryFrom(start);
        made.group = group(start);
        m_header.codes.push_back(std::move(made));
    }

    // Of the constant or code just read.
    Group group(const Token& start) {
        const bool follows =
            start.at.line == m_lastConstant + 1 || m_tokens.comments().continuesTrailing(start.at.line - 1);
        m_lastConstant = m_tokens.previous().at.line;
        return {!follows, follows ? "" : m_tokens.comments().above(start.at.line)};
    }

    void tableDeclaration(const Token& start) {
        m_tokens.take();
        Table made;
        const Token name = m_tokens.expectName("the table's name");
        made.name = name.text;
        made.at = name.at;
        made.summary = m_tokens.summaryFrom(start);
        m_tokens.expect("{");
        while (!m_tokens.at("}") && !m_tokens.atEnd()) {
            guarded([&] { made.rows.push_back(tableRow()); }, &TokenStream::skipMethod);
        }
        m_tokens.expect("}");
        m_tokens.expectEnd();
        m_header.tables.push_back(std::move(made));
    }

    Table::Row tableRow() {
        const Token constant = m_tokens.expectName("a constant or '}'");
        m_tokens.expect("=");
        const Token size = m_tokens.expectKind(TokenKind::Number, "a size");
        const IntegerValue read = integerLiteral(size, m_errors);
        if (read.value <= 0 || read.value > int64_t{INT32_MAX} || read.isLong) {
            m_tokens.reject(size, "a size above 0");
        }
        m_tokens.expectEnd();
        return {constant.text, static_cast<uint32_t>(read.value), constant.at};
    }

    Value value() {
        if (m_tokens.accept("uuid")) {
            m_tokens.expect("(");
            const Token text = m_tokens.expectKind(TokenKind::Text, "an identity in quotes");
            m_tokens.expect(")");
            return Guid{text.text, text.at};
        }
        if (m_tokens.peek().kind == TokenKind::Text) {
            return TextValue{m_tokens.take().text};
        }
        if (m_tokens.peek().kind == TokenKind::CharCode) {
            IntegerValue code = charCodeLiteral(m_tokens.take());
            code.isLong = m_tokens.accept("L");
            return code;
        }
        const Token number =
            m_tokens.expectKind(TokenKind::Number, "a number, a text, a four-character code or uuid(\"...\")");
        if (looksReal(number)) {
            return realLiteral(number, m_errors);
        }
        return integerLiteral(number, m_errors);
    }

    Diagnostics& m_errors;
    TokenStream m_tokens;
    Header m_header;
    uint32_t m_lastConstant = 0;  // the line on which the last constant or code ended
};

}  // namespace

Header parse(const SourceFile& file, Diagnostics& diagnostics) { return Parser(file, diagnostics).run(); }

}  // namespace kzgen
