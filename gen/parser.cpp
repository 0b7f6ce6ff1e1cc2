// A recursive descent parser for one file.
#include "parser.h"

#include <fmt/format.h>

#include "attributes.h"
#include "literals.h"
#include "sha1.h"
#include "text.h"
#include "token_stream.h"

namespace kzgen {

namespace {

const AttributeRules interfaceAttributes = {
    {"uuid", Argument::Text},    {"server", Argument::Text}, {"symbol", Argument::Text},
    {"adapter", Argument::Text}, {"nowrap", Argument::None}, {"nosymbol", Argument::None},
};
const AttributeRules methodAttributes = {
    {"inert", Argument::Optional}, {"required", Argument::None}, {"again", Argument::None}};
const AttributeRules groupAttributes = {{"used", Argument::Text}};

class Parser {
public:
    Parser(const SourceFile& file, Diagnostics& diagnostics) : m_errors(diagnostics), m_tokens(file, diagnostics) {
        m_header.path = file.path;
        m_header.hash = toHex(sha1(file.text));
    }

    Header run() {
        guarded([this] { headerLine(); }, &TokenStream::skipDeclaration);
        while (!m_tokens.atEnd()) guarded([this] { declaration(); }, &TokenStream::skipDeclaration);
        return std::move(m_header);
    }

private:
    // Runs a step. After a syntax error in it, parsing goes on behind what `skip` passes over.
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
        const Attributes attributes = readAttributes(m_tokens);
        if (m_tokens.at("interface") || m_tokens.at("service")) {
            interfaceDeclaration(start, attributes);
        } else if (m_tokens.at("const")) {
            constantDeclaration(start, attributes);
        } else if (m_tokens.at("code") || m_tokens.at("error")) {
            fitting(attributes, {}, m_errors);
            codeDeclaration(start);
        } else if (m_tokens.at("table")) {
            fitting(attributes, {}, m_errors);
            tableDeclaration(start);
        } else {
            m_tokens.fail(
                "'interface', 'service', 'const', 'code', 'error' or 'table'" +
                didYouMean(m_tokens.peek().text, {"interface", "service", "const", "code", "error", "table"}));
        }
    }

    void interfaceDeclaration(const Token& start, const Attributes& attributes) {
        Interface interface;
        interface.service = m_tokens.take().text == "service";
        const Token name = m_tokens.expectName(interface.service ? "the service's name" : "the interface's name");
        interface.name = name.text;
        interface.at = name.at;
        interface.symbol = toUpper(interface.stem());
        interface.summary = m_tokens.summaryFrom(start);
        applyAttributes(interface, attributes);
        m_tokens.expect("{");
        while (!m_tokens.at("}") && !m_tokens.atEnd())
            guarded([&] { interface.methods.push_back(this->method()); }, &TokenStream::skipMethod);
        const bool closed = m_tokens.accept("}");
        m_header.interfaces.push_back(std::move(interface));
        if (!closed) m_tokens.fail("a method or '}'");
        m_tokens.expectEnd();
    }

    void applyAttributes(Interface& interface, const Attributes& attributes) {
        for (const Attribute& attribute : fitting(attributes, interfaceAttributes, m_errors)) {
            const std::string& name = attribute.name.text;
            if (name == "uuid") interface.guid = {attribute.argument->text, attribute.argument->at};
            else if (name == "server") interface.server = attribute.argument->text;
            else if (name == "symbol") interface.symbol = attribute.argument->text;
            else if (name == "adapter") interface.adapter = attribute.argument->text;
            else if (name == "nosymbol") interface.hasSymbol = false;
            else interface.wrapped = false;
        }
        if (interface.guid.text.empty()) {
            m_errors.error(interface.at, inQuotes(interface.name) + " without an identity",
                           fmt::format("[uuid(\"...\")], as 'kzgen mint {}' makes it", interface.name));
        }
    }

    // Methods

    Method method() {
        const Token start = m_tokens.peek();
        Method method;
        const Attributes attributes = readAttributes(m_tokens);
        method.returns = this->type(KindUse::Return);
        const Token name = m_tokens.expectName("the method's name");
        method.name = name.text;
        method.at = name.at;
        applyAttributes(method, attributes);
        m_tokens.expect("(");
        if (!m_tokens.at(")")) do {
                method.parameters.push_back(this->parameter());
            } while (m_tokens.accept(","));
        if (!m_tokens.accept(")")) m_tokens.fail("',' or ')'");
        method.returns.families = families();
        m_tokens.expectEnd();
        method.summary = m_tokens.summaryFrom(start);
        return method;
    }

    void applyAttributes(Method& method, const Attributes& attributes) {
        for (const Attribute& attribute : fitting(attributes, methodAttributes, m_errors))
            if (attribute.name.text == "required") method.required = true;
            else if (attribute.name.text == "again") method.again = true;
            else if (!attribute.argument) method.inert = Inert::Nothing;
            else if (attribute.argument->text == "NOTIMPL") method.inert = Inert::NotImplemented;
            else if (attribute.argument->text == "0") method.inert = Inert::Zero;
            else m_tokens.reject(*attribute.argument, "NOTIMPL or 0");
    }

    Parameter parameter() {
        Parameter parameter;
        parameter.output = m_tokens.accept("out");
        parameter.type = this->type(parameter.output ? KindUse::Output : KindUse::Input);
        const Token name = m_tokens.expectName("the parameter's name");
        parameter.name = name.text;
        parameter.at = name.at;
        parameter.type.families = families();
        return parameter;
    }

    // ": NAME | NAME ...", or nothing.
    std::vector<Family> families() {
        std::vector<Family> all;
        if (m_tokens.accept(":")) do {
                const Token name = m_tokens.expectName("the beginning of constants' names");
                all.push_back({name.text, name.at});
            } while (m_tokens.accept("|"));
        return all;
    }

    // A kind and its arguments. An unknown kind is reported and replaced by one that causes no further errors.
    Type type(KindUse use) {
        Type type;
        const Token name = m_tokens.expectName(use == KindUse::Return ? "a return kind" : "a kind");
        type.at = name.at;
        const bool array = m_tokens.accept("[");
        if (array && !m_tokens.accept("]")) {
            if (m_tokens.peek().kind == TokenKind::Text) type.unsized = m_tokens.take().text;
            else do {
                    type.length.push_back(arrayFactor());
                } while (m_tokens.accept("*"));
            m_tokens.expect("]");
        }
        const KindInfo* row = findKind(name.text, array);
        if (row == nullptr || !row->fits(use)) {
            unfit(name, array, row, use);
            type.length.clear();
            type.unsized = "reported";
        }
        type.kind = row == nullptr ? Kind::Uint : row->kind;
        if (m_tokens.accept("<")) {
            type.name = angleName(name);
            m_tokens.expect(">");
        }
        return type;
    }

    // NUMBER, PARAMETER, TABLE[PARAMETER] or METHOD(PARAMETER, ...)
    Factor arrayFactor() {
        if (m_tokens.peek().kind == TokenKind::Number) {
            const Token number = m_tokens.take();
            return {Factor::Kind::Number, number.text, {}, number.at};
        }
        const Token name = m_tokens.expectName("a length, or the reason in quotes why there is none");
        Factor factor{Factor::Kind::Parameter, name.text, {}, name.at};
        if (m_tokens.accept("[")) {
            factor.kind = Factor::Kind::Table;
            factor.arguments.push_back(m_tokens.expectName("the name of an integer parameter").text);
            m_tokens.expect("]");
        } else if (m_tokens.accept("(")) {
            factor.kind = Factor::Kind::Method;
            while (!m_tokens.accept(")")) {
                factor.arguments.push_back(m_tokens.expectName("')' or the name of an input").text);
                m_tokens.accept(",");
            }
        }
        return factor;
    }

    std::string angleName(const Token& kind) {
        if (kind.text != "object" && kind.text != "pointer")
            m_errors.error(kind.at, inQuotes(kind.text + "<"), "'object<' or 'pointer<'");
        if (kind.text == "object") return m_tokens.expectName("the interface's name").text;
        const std::string constant = m_tokens.accept("const") ? "const " : "";
        return constant + m_tokens.expectName("the struct's name").text;
    }

    void unfit(const Token& name, bool array, const KindInfo* row, KindUse use) {
        const std::string kind = inQuotes(array ? name.text + "[]" : name.text);
        const std::string place = use == KindUse::Return  ? "returned"
                                  : use == KindUse::Input ? "an input"
                                                          : "an output";
        if (row != nullptr) {
            m_errors.error(name.at, kind, "a kind that can be " + place);
        } else {
            m_errors.error(name.at, kind,
                           (array ? "the element kind of an array" : "a kind") +
                               didYouMean(name.text, kindNames(array)));
        }
    }

    // Constants

    void constantDeclaration(const Token& start, const Attributes& attributes) {
        m_tokens.take();
        Constant constant;
        const Token name = m_tokens.expectName("the constant's name");
        constant.name = name.text;
        constant.at = name.at;
        m_tokens.expect("=");
        constant.value = value();
        m_tokens.expectEnd();
        constant.summary = m_tokens.comments().behind(m_tokens.previous().at.line);
        constant.group = group(start, fitting(attributes, groupAttributes, m_errors));
        m_header.constants.push_back(std::move(constant));
    }

    void codeDeclaration(const Token& start) {
        Code code;
        code.headerOwn = m_tokens.take().text == "error";
        const Token name = m_tokens.expectName("the code's name");
        code.name = name.text;
        code.at = name.at;
        m_tokens.expect("=");
        const Token number = m_tokens.expectKind(TokenKind::Number, "the code's value");
        const IntegerValue value = integerLiteral(number, m_errors);
        if (value.value < 0 || value.value > std::int64_t{UINT32_MAX} || value.isLong)
            m_tokens.reject(number, "an unsigned value of 32 bits");
        code.value = static_cast<std::uint32_t>(value.value);
        m_tokens.expectEnd();
        code.summary = m_tokens.comments().behind(m_tokens.previous().at.line);
        code.group = group(start, {});
        m_header.codes.push_back(std::move(code));
    }

    // The group of the constant or code just read, which may begin one.
    std::size_t group(const Token& start, const Attributes& attributes) {
        const bool follows =
            start.at.line == m_lastConstant + 1 || m_tokens.comments().continuesTrailing(start.at.line - 1);
        m_lastConstant = m_tokens.previous().at.line;
        if (!follows) m_header.groups.push_back({m_tokens.comments().above(start.at.line), ""});
        for (const Attribute& used : attributes) {
            if (follows) m_errors.error(used.name.at, "attribute 'used' within a group", "it above the first constant");
            else m_header.groups.back().used = used.argument->text;
        }
        return m_header.groups.size() - 1;
    }

    void tableDeclaration(const Token& start) {
        m_tokens.take();
        Table table;
        const Token name = m_tokens.expectName("the table's name");
        table.name = name.text;
        table.at = name.at;
        table.summary = m_tokens.summaryFrom(start);
        m_tokens.expect("{");
        while (!m_tokens.at("}") && !m_tokens.atEnd())
            guarded([&] { table.rows.push_back(tableRow()); }, &TokenStream::skipMethod);
        m_tokens.expect("}");
        m_tokens.expectEnd();
        m_header.tables.push_back(std::move(table));
    }

    Table::Row tableRow() {
        const Token constant = m_tokens.expectName("a constant or '}'");
        m_tokens.expect("=");
        const Token size = m_tokens.expectKind(TokenKind::Number, "a size");
        const IntegerValue value = integerLiteral(size, m_errors);
        if (value.value <= 0 || value.value > std::int64_t{INT32_MAX} || value.isLong)
            m_tokens.reject(size, "a positive size");
        m_tokens.expectEnd();
        return {constant.text, static_cast<std::uint32_t>(value.value), constant.at};
    }

    Value value() {
        if (m_tokens.accept("uuid")) {
            m_tokens.expect("(");
            const Token text = m_tokens.expectKind(TokenKind::Text, "an identity in quotes");
            m_tokens.expect(")");
            return Guid{text.text, text.at};
        }
        if (m_tokens.peek().kind == TokenKind::Text) return TextValue{m_tokens.take().text};
        if (m_tokens.peek().kind == TokenKind::CharCode) {
            IntegerValue code = charCodeLiteral(m_tokens.take());
            code.isLong = m_tokens.accept("L");
            return code;
        }
        const Token number =
            m_tokens.expectKind(TokenKind::Number, "a number, a text, a four-character code or uuid(\"...\")");
        if (looksReal(number)) return realLiteral(number, m_errors);
        return integerLiteral(number, m_errors);
    }

    Diagnostics& m_errors;
    TokenStream m_tokens;
    Header m_header;
    std::uint32_t m_lastConstant = 0;  // the line on which the last constant or code ended
};

}  // namespace

Header parse(const SourceFile& file, Diagnostics& diagnostics) { return Parser(file, diagnostics).run(); }

}  // namespace kzgen
