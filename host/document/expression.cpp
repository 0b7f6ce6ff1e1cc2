// Formulas: numbers, names, functions and operators.
#include "host/document/expression.h"

#include "host/state/function_ref.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <cmath>
#include <numbers>
#include <vector>

namespace kzhost {

namespace {

constexpr int deepest = 100;

struct Function {
    std::string_view name;
    std::size_t count;
    double (*compute)(const double* numbers);
};
constexpr std::array functions{
    Function{"abs", 1, [](const double* n) { return std::abs(n[0]); }},
    Function{"sign", 1, [](const double* n) { return n[0] > 0   ? 1.0
                                                     : n[0] < 0 ? -1.0
                                                                : 0.0; }},
    Function{"floor", 1, [](const double* n) { return std::floor(n[0]); }},
    Function{"ceil", 1, [](const double* n) { return std::ceil(n[0]); }},
    Function{"round", 1, [](const double* n) { return std::round(n[0]); }},
    Function{"sqrt", 1, [](const double* n) { return std::sqrt(n[0]); }},
    Function{"exp", 1, [](const double* n) { return std::exp(n[0]); }},
    Function{"log", 1, [](const double* n) { return std::log(n[0]); }},
    Function{"sin", 1, [](const double* n) { return std::sin(n[0]); }},
    Function{"cos", 1, [](const double* n) { return std::cos(n[0]); }},
    Function{"tan", 1, [](const double* n) { return std::tan(n[0]); }},
    Function{"asin", 1, [](const double* n) { return std::asin(n[0]); }},
    Function{"acos", 1, [](const double* n) { return std::acos(n[0]); }},
    Function{"atan", 1, [](const double* n) { return std::atan(n[0]); }},
    Function{"atan2", 2, [](const double* n) { return std::atan2(n[0], n[1]); }},
    Function{"min", 2, [](const double* n) { return std::min(n[0], n[1]); }},
    Function{"max", 2, [](const double* n) { return std::max(n[0], n[1]); }},
    Function{"mix", 3, [](const double* n) { return n[0] + (n[1] - n[0]) * n[2]; }},
    Function{"clamp", 3, [](const double* n) { return std::max(n[1], std::min(n[0], n[2])); }},
    Function{"if", 3, [](const double* n) { return n[0] != 0 ? n[1] : n[2]; }},
};

double compared(std::string_view sign, double a, double b) {
    if (sign == "<=") return a <= b ? 1 : 0;
    if (sign == ">=") return a >= b ? 1 : 0;
    if (sign == "==") return a == b ? 1 : 0;
    if (sign == "!=") return a != b ? 1 : 0;
    return (sign == "<" ? a < b : a > b) ? 1 : 0;
}

struct Fault {
    std::string text;
};

// Each level of binding is a function: comparisons, sums, products, signs, powers, and single values.
class CFormula {
public:
    CFormula(std::string_view text, CFunctionRef<std::optional<double>(std::string_view)> variable)
        : m_text(text), m_variable(variable) {}

    double value() {
        const double number = comparison();
        skip();
        if (m_at < m_text.size()) fail(fmt::format("\"{}\" is not expected", m_text.substr(m_at)));
        return number;
    }

private:
    double comparison() {
        if (++m_depth > deepest) fail("there are too many brackets");
        double left = sum();
        for (const std::string_view sign : {"<=", ">=", "==", "!=", "<", ">"})
            if (take(sign)) {
                left = compared(sign, left, sum());
                break;
            }
        --m_depth;
        return left;
    }
    double sum() {
        double left = product();
        while (true)
            if (take("+")) left += product();
            else if (take("-")) left -= product();
            else return left;
    }
    double product() {
        double left = sign();
        while (true)
            if (take("*")) left *= sign();
            else if (take("/")) left /= sign();
            else if (take("%")) left = remainder(left, sign());
            else return left;
    }
    // The sign of the divisor, so that a phase stays one on both sides of zero.
    static double remainder(double a, double b) { return a - b * std::floor(a / b); }
    double sign() {
        bool isNegative = false;
        while (true)
            if (take("-")) isNegative = !isNegative;
            else if (!take("+")) break;
        const double number = power();
        return isNegative ? -number : number;
    }
    // To the right first: 2 ^ 3 ^ 2 is 2 ^ 9.
    double power() {
        std::vector<double> chain{single()};
        while (take("^")) {
            const bool isNegative = take("-");
            chain.push_back(isNegative ? -single() : single());
        }
        double number = chain.back();
        for (std::size_t i = chain.size() - 1; i > 0; --i) number = std::pow(chain[i - 1], number);
        return number;
    }
    double single() {
        if (take("(")) {
            const double number = comparison();
            need(")");
            return number;
        }
        skip();
        const char* const end = m_text.data() + m_text.size();
        double number = 0;
        if (const auto read = std::from_chars(m_text.data() + m_at, end, number); read.ec == std::errc{}) {
            const auto length = static_cast<std::size_t>(read.ptr - (m_text.data() + m_at));
            if (std::isdigit(static_cast<unsigned char>(m_text[m_at])) != 0 || m_text[m_at] == '.') {
                m_at += length;
                return number;
            }
        }
        return named();
    }
    double named() {
        const std::size_t start = m_at;
        const auto isPart = [](char c) {
            return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_' || c == '.';
        };
        while (m_at < m_text.size() && isPart(m_text[m_at])) ++m_at;
        const std::string_view name = m_text.substr(start, m_at - start);
        if (name.empty()) fail(m_at < m_text.size() ? "a value is expected" : "the formula ends too early");
        if (take("(")) return called(name, start);
        if (name == "pi") return std::numbers::pi;
        if (const auto number = m_variable(name)) return *number;
        m_at = start;
        fail(fmt::format("nothing is called \"{}\"", name));
    }
    double called(std::string_view name, std::size_t start) {
        const auto* function = std::ranges::find(functions, name, &Function::name);
        if (function == functions.end()) {
            m_at = start;
            fail(fmt::format("there is no function \"{}\"", name));
        }
        std::array<double, 3> numbers{};
        for (std::size_t i = 0; i < function->count; ++i) {
            if (i > 0) need(",");
            numbers[i] = comparison();
        }
        need(")");
        return function->compute(numbers.data());
    }

    void skip() {
        while (m_at < m_text.size() && std::isspace(static_cast<unsigned char>(m_text[m_at])) != 0) ++m_at;
    }
    bool take(std::string_view sign) {
        skip();
        if (!m_text.substr(m_at).starts_with(sign)) return false;
        m_at += sign.size();
        return true;
    }
    void need(std::string_view sign) {
        if (!take(sign)) fail(fmt::format("\"{}\" is expected", sign));
    }
    [[noreturn]] void fail(const std::string& what) const {
        throw Fault{fmt::format("at position {}: {}", m_at + 1, what)};
    }

    std::string_view m_text;
    CFunctionRef<std::optional<double>(std::string_view)> m_variable;
    std::size_t m_at = 0;
    int m_depth = 0;
};

}  // namespace

std::optional<double> kzCalculate(std::string_view formula,
                                  CFunctionRef<std::optional<double>(std::string_view name)> variable,
                                  std::string& why) {
    try {
        return CFormula(formula, variable).value();
    } catch (const Fault& fault) {
        why = fault.text;
        return {};
    }
}

}  // namespace kzhost
