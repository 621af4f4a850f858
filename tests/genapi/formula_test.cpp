// Tests of the formula language: every expected value below is worked out by
// hand from the language rules, never produced by the evaluator itself.
#include "formula/formula.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "GenICam/exceptions.h"

namespace {

using GenApi::detail::Formula;
using GenApi::detail::FormulaMode;
using GenApi::detail::FormulaVariables;

constexpr int64_t kMin = std::numeric_limits<int64_t>::min();
constexpr int64_t kMax = std::numeric_limits<int64_t>::max();
constexpr double kTwo63 = 9223372036854775808.0;
constexpr double kTwo64 = 18446744073709551616.0;
constexpr double kPi = 3.141592653589793;
constexpr double kE = 2.718281828459045;

// Variables by name, each with an integer and a floating view and a read
// counter. Slots start at 100 so that a slot mix-up cannot go unnoticed.
class TestVariables : public FormulaVariables {
public:
    void set(const std::string& name, int64_t i, double f) {
        auto it = slots_.find(name);
        if (it == slots_.end()) {
            slots_[name] = kSlotBase + static_cast<int>(entries_.size());
            entries_.push_back(Entry{i, f, 0});
        } else {
            entries_[static_cast<size_t>(it->second - kSlotBase)] = Entry{i, f, 0};
        }
    }

    int reads(const std::string& name) const {
        return entries_.at(static_cast<size_t>(slots_.at(name) - kSlotBase)).reads;
    }

    const std::vector<std::string>& resolved() const { return resolved_; }

    int resolve(std::string_view identifier) const override {
        resolved_.emplace_back(identifier);
        auto it = slots_.find(std::string(identifier));
        return it == slots_.end() ? -1 : it->second;
    }

    int64_t intValue(int slot) override {
        Entry& e = entries_.at(static_cast<size_t>(slot - kSlotBase));
        ++e.reads;
        return e.i;
    }

    double floatValue(int slot) override {
        Entry& e = entries_.at(static_cast<size_t>(slot - kSlotBase));
        ++e.reads;
        return e.f;
    }

private:
    struct Entry {
        int64_t i;
        double f;
        int reads;
    };
    static constexpr int kSlotBase = 100;
    std::map<std::string, int> slots_;
    std::vector<Entry> entries_;
    mutable std::vector<std::string> resolved_;
};

TestVariables standardVariables() {
    TestVariables v;
    v.set("A", 10, 10.0);
    v.set("B", 3, 3.0);
    v.set("X", 2, 2.5); // a float node read as an integer truncates
    v.set("Zero", 0, 0.0);
    v.set("WIDTH.Max", 640, 640.0);
    v.set("Gain.Value", 12, 12.5);
    v.set("Foo_1.Bar", 1, 1.0);
    return v;
}

int64_t evalInt(std::string_view text, TestVariables& vars) {
    return Formula::compile(text, FormulaMode::Integer, vars).evaluateInt(vars);
}

double evalFloat(std::string_view text, TestVariables& vars) {
    return Formula::compile(text, FormulaMode::Float, vars).evaluateFloat(vars);
}

// A formula with its result in Integer mode and in Float mode.
struct Case {
    const char* text;
    int64_t asInt;
    double asFloat;
};

void checkCases(const std::vector<Case>& cases) {
    TestVariables vars = standardVariables();
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string("formula: ") + c.text);
        try {
            EXPECT_EQ(evalInt(c.text, vars), c.asInt) << "Integer mode";
        } catch (const std::exception& e) {
            ADD_FAILURE() << "Integer mode raised: " << e.what();
        }
        try {
            EXPECT_DOUBLE_EQ(evalFloat(c.text, vars), c.asFloat) << "Float mode";
        } catch (const std::exception& e) {
            ADD_FAILURE() << "Float mode raised: " << e.what();
        }
    }
}

std::string repeat(std::string_view piece, size_t n) {
    std::string s;
    s.reserve(piece.size() * n);
    for (size_t k = 0; k < n; ++k)
        s += piece;
    return s;
}

std::string quoted(std::string_view text) {
    return "'" + std::string(text) + "'";
}

// ---------------------------------------------------------------------------
// Results

TEST(FormulaResults, ArithmeticAndItsPrecedence) {
    checkCases({
        {"1+2*3", 7, 7},
        {"(1+2)*3", 9, 9},
        {"10-4-3", 3, 3},
        {"2*3+4*5", 26, 26},
        {"100/10/5", 2, 2},
        {"7/2", 3, 3.5},
        {"-7/2", -3, -3.5},
        {"7%3", 1, 1},
        {"-7%3", -1, -1},
        {"7%-3", 1, 1},
        {"2+3%2", 3, 3},
        {"2*3%4", 2, 2},
        {"1/3*3", 0, 1},
        {"A/B", 3, 3.3333333333333335},
        {"A%B", 1, 1},
        {"A-B*X", 4, 2.5},
        {"1e2/3", 33, 33.333333333333336},
    });
}

TEST(FormulaResults, PowerBindsTighterThanUnaryAndAssociatesRight) {
    checkCases({
        {"2**10", 1024, 1024},
        {"2**3**2", 512, 512},
        {"-2**2", -4, -4},
        {"(-2)**2", 4, 4},
        {"2*3**2", 18, 18},
        {"2**-1", 0, 0.5}, // integer power: the real result truncated
        {"2**-2", 0, 0.25},
        {"1**-5", 1, 1},
        {"(-1)**-3", -1, -1},
        {"(-1)**-2", 1, 1},
        {"(-3)**3", -27, -27},
        {"0**0", 1, 1},
        {"(A+B)*2**B", 104, 104},
        {"2**62", 4611686018427387904, 4611686018427387904.0},
        {"2**63", kMin, kTwo63},
        {"2**64", 0, kTwo64},
        {"3**40", -6289078614652622815, 12157665459056928801.0},
    });
}

TEST(FormulaResults, IntegerArithmeticWrapsAround) {
    checkCases({
        {"0x7FFFFFFFFFFFFFFF+1", kMin, kTwo63},
        {"-0x8000000000000000", kMin, kTwo63},
        {"0x8000000000000000/-1", kMin, kTwo63},
        {"0x8000000000000000%-1", 0, 0},
        {"0x4000000000000000*4", 0, kTwo64},
        {"0-0x8000000000000000-1", kMax, kTwo63},
        {"ABS(0x8000000000000000)", kMin, kTwo63},
        {"NEG(0x8000000000000000)", kMin, kTwo63},
    });
}

TEST(FormulaResults, Shifts) {
    checkCases({
        {"1<<4", 16, 16},
        {"1+2<<3", 24, 24},
        {"1<<2+3", 32, 32},
        {"256>>4", 16, 16},
        {"-16>>2", -4, -4}, // arithmetic: the sign is kept
        {"1<<62", 4611686018427387904, 4611686018427387904.0},
        {"1<<63", kMin, -kTwo63},
        {"(1<<63)>>63", -1, -1},
        {"0x8000000000000000>>63", -1, -1},
        // Counts of 64 or more shift every bit out.
        {"1<<64", 0, 0},
        {"3<<1000", 0, 0},
        {"5>>64", 0, 0},
        {"-1>>64", -1, -1},
        {"-1>>63", -1, -1},
        // A negative count shifts the other way.
        {"8<<-2", 2, 2},
        {"8>>-2", 32, 32},
        {"-8<<-1", -4, -4},
        {"1<<-64", 0, 0},
        {"-1<<-64", -1, -1},
        {"5<<0x8000000000000000", 0, 0},
        {"-5<<0x8000000000000000", -1, -1},
        {"5>>0x8000000000000000", 0, 0},
    });
}

TEST(FormulaResults, ComparisonsYieldOneOrZero) {
    checkCases({
        {"2<3", 1, 1},
        {"3<2", 0, 0},
        {"2>3", 0, 0},
        {"2<=2", 1, 1},
        {"3>=4", 0, 0},
        {"2=2", 1, 1},
        {"2<>2", 0, 0},
        {"2<>3", 1, 1},
        {"1<2<<1", 1, 1}, // 1 < (2<<1)
        {"3<5=1", 1, 1},  // (3<5) = 1
        {"2=2=1", 1, 1},  // (2=2) = 1
        {"-1<0", 1, 1},
        {"0xFFFFFFFFFFFFFFFF<0", 1, 1},
        {"2.5>2", 1, 1},
        {"2.5=2", 0, 0}, // the integer side is widened, not the double truncated
        {"0.1+0.2=0.3", 0, 0},
        {"A>B", 1, 1},
    });
}

TEST(FormulaResults, BitOperations) {
    checkCases({
        {"6&3", 2, 2},
        {"6|3", 7, 7},
        {"6^3", 5, 5},
        {"1|2^3&4", 3, 3}, // 1 | (2 ^ (3&4))
        {"3|1^1", 3, 3},   // 3 | (1^1)
        {"6&3^1", 3, 3},   // (6&3) ^ 1
        {"5&3=1", 0, 0},   // 5 & (3=1)
        {"~0", -1, -1},
        {"~5", -6, -6},
        {"~-1", 0, 0},
        {"0xFF & 0x0F", 15, 15},
        {"0xF0 | 0x0F", 255, 255},
        // Double operands are truncated toward zero first.
        {"7.9 & 3", 3, 3},
        {"-7.9 | 0", -7, -7},
        {"10%3.5", 1, 1},
        {"~2.5", -3, -3},
        // Doubles beyond the int64 range wrap modulo 2^64.
        {"(2**64+5)|0", 5, 0},
        {"(2**63)|0", kMin, -kTwo63},
        {"-(2**64)-4096|0", -4096, -4096},
    });
}

TEST(FormulaResults, LogicalOperators) {
    checkCases({
        {"1&&2", 1, 1},
        {"5&&0", 0, 0},
        {"0||7", 1, 1},
        {"0||0", 0, 0},
        {"!0", 1, 1},
        {"!5", 0, 0},
        {"!!7", 1, 1},
        {"!0.5", 0, 0},
        {"0.5&&1", 1, 1},
        {"1||1&&0", 1, 1}, // 1 || (1&&0)
        {"0&&0||1", 1, 1},
        {"1|0&&0", 0, 0}, // (1|0) && 0
        {"!1+1", 1, 1},   // (!1) + 1
        {"2&&3=3", 1, 1},
        {"Zero||A", 1, 1},
    });
}

TEST(FormulaResults, TernaryOperator) {
    checkCases({
        {"1?2:3", 2, 2},
        {"0?2:3", 3, 3},
        {"0?1:0?2:3", 3, 3},
        {"1?0?4:5:6", 5, 5},
        {"1+1?10:20", 10, 10},
        {"0||0?1:2", 2, 2},
        {"1?1:2+3", 1, 1},
        {"(1?1:2)+3", 4, 4},
        {"A>B?A:B", 10, 10},
        // Mixed branches make the whole conditional a double in Integer mode.
        {"1?2.5:1", 2, 2.5},
        {"(0?2.5:3)/2*2", 3, 3},
        {"(1?7:2.5)/2*2", 7, 7},
    });
}

TEST(FormulaResults, UnaryOperators) {
    checkCases({
        {"--3", 3, 3},
        {"-+-3", 3, 3},
        {"+3", 3, 3},
        {"- 3 * - 2", 6, 6},
        {"10 - -2", 12, 12},
        {"2*-3", -6, -6},
        {"-~0", 1, 1},
        {"-X", -2, -2.5},
    });
}

TEST(FormulaResults, NumberLiterals) {
    checkCases({
        {"0x10", 16, 16},
        {"0XfF", 255, 255},
        {"0xFFFFFFFFFFFFFFFF", -1, -1},
        {"0x7FFFFFFFFFFFFFFF", kMax, kTwo63},
        {"0x00000000000000000001", 1, 1},
        {"9223372036854775808", kMin, kTwo63},
        {"18446744073709551615", -1, kTwo64},
        {"1.5e3", 1500, 1500},
        {"2E2", 200, 200},
        {"1.5e-3*1000", 1, 1.5},
        {"2.5*2", 5, 5},
        {"(2.5+2.5)", 5, 5},
        {"0.5+0.5+0.5", 1, 1.5},
        {"-2.5", -2, -2.5},
        {".5*4", 2, 2},
        {"3.", 3, 3},
        {"7.0/2", 3, 3.5},
    });
}

TEST(FormulaResults, WhitespaceBetweenTokens) {
    checkCases({
        {" \t1 +\n2 \r\n* 3 ", 7, 7},
        {"( 1 )", 1, 1},
        {"SQRT (16)", 4, 4},
        {"ROUND( 2.5 ,\n0 )", 3, 3},
        {"\nA\n>\nB\n?\n1\n:\n2\n", 1, 1},
    });
}

TEST(FormulaResults, Functions) {
    checkCases({
        {"SGN(-5)", -1, -1},
        {"SGN(0)", 0, 0},
        {"SGN(3.5)", 1, 1},
        {"SGN(-0.5)", -1, -1},
        {"NEG(4)", -4, -4},
        {"NEG(-2.5)", 2, 2.5},
        {"ABS(-7)", 7, 7},
        {"ABS(-2.5)", 2, 2.5},
        {"SQRT(16)", 4, 4},
        {"SQRT(2)", 1, 1.4142135623730951},
        {"SQRT(9)/2*2", 3, 3}, // SQRT gives a double even in Integer mode
        {"EXP(0)", 1, 1},
        {"EXP(1)", 2, kE},
        {"LN(1)", 0, 0},
        {"LN(100)", 4, 4.605170185988092},
        {"LG(1000)+0.5", 3, 3.5},
        {"LG(100)-0.5", 1, 1.5},
        {"SIN(0)", 0, 0},
        {"SIN(PI/6)*2+0.5", 1, 1.5},
        {"COS(0)", 1, 1},
        {"COS(PI)-0.5", -1, -1.5},
        {"TAN(0)", 0, 0},
        {"TAN(PI/4)+0.5", 1, 1.5},
        {"ATAN(0)", 0, 0},
        {"ATAN(1)*4", 3, kPi},
        {"ASIN(0)", 0, 0},
        {"ASIN(1)*2", 3, kPi},
        {"ACOS(1)", 0, 0},
        {"ACOS(-1)", 3, kPi},
        {"TRUNC(2.7)", 2, 2},
        {"TRUNC(-2.7)", -2, -2},
        {"FLOOR(2.5)", 2, 2},
        {"FLOOR(-2.5)", -3, -3},
        {"FLOOR(-0.5)", -1, -1},
        {"CEIL(2.1)", 3, 3},
        {"CEIL(-2.1)", -2, -2},
        {"ROUND(2.4)", 2, 2},
        {"ROUND(2.5)", 3, 3}, // halves go away from zero
        {"ROUND(-2.5)", -3, -3},
        // TRUNC, FLOOR, CEIL and ROUND give integers in Integer mode...
        {"TRUNC(9.5)/2*2", 8, 9},
        {"FLOOR(7.5)/2", 3, 3.5},
        {"CEIL(6.5)/2", 3, 3.5},
        {"ROUND(6.5)/2", 3, 3.5},
        {"TRUNC(7)/2", 3, 3.5},
        // ...except ROUND with a number of decimals, which stays a double.
        {"ROUND(3.14159, 2)", 3, 3.14},
        {"ROUND(-1.25, 1)", -1, -1.3},
        {"ROUND(1234.5678, -2)", 1200, 1200},
        {"ROUND(2.5, 0)", 3, 3},
        {"ROUND(7, 1)", 7, 7},
        {"ROUND(6.5, 0)/2*2", 7, 7},
        // Any case; nested calls.
        {"sqrt(16)", 4, 4},
        {"Abs(-3)", 3, 3},
        {"ABS(NEG(SGN(-3)))", 1, 1},
        {"SQRT(A*B-5)+X", 7, 7.5},
    });
}

TEST(FormulaResults, ConstantsAreDoubles) {
    checkCases({
        {"PI", 3, kPi},
        {"E", 2, kE},
        {"pi*2", 6, 6.283185307179586},
        {"PI*10", 31, 31.41592653589793}, // 31, not 3*10
        {"e", 2, kE},
        {"E**0", 1, 1},
    });
}

TEST(FormulaResults, VariablesWithDotsAndUnderscores) {
    checkCases({
        {"WIDTH.Max/2", 320, 320},
        {"Gain.Value*2", 24, 25},
        {"X*2", 4, 5},
        {"Foo_1.Bar+WIDTH.Max", 641, 641},
    });
}

// ---------------------------------------------------------------------------
// Variables

TEST(FormulaVariablesTest, IdentifiersReachResolveExactlyAsWritten) {
    TestVariables vars = standardVariables();
    Formula::compile("WIDTH.Max + Foo_1.Bar*SQRT(A) + PI", FormulaMode::Integer, vars);
    // Function names are not variables; PI is offered to the variables first.
    const std::vector<std::string> expected{"WIDTH.Max", "Foo_1.Bar", "A", "PI"};
    EXPECT_EQ(vars.resolved(), expected);
}

TEST(FormulaVariablesTest, VariablesTakePrecedenceOverConstants) {
    TestVariables vars;
    vars.set("PI", 3, 3.0);
    vars.set("E", 7, 7.0);
    vars.set("SQRT", 5, 5.0);
    EXPECT_EQ(evalInt("PI*2", vars), 6);
    EXPECT_DOUBLE_EQ(evalFloat("PI*2", vars), 6.0);
    EXPECT_DOUBLE_EQ(evalFloat("E+1", vars), 8.0);
    // Resolution is exact; a spelling no variable has falls back to the constant.
    EXPECT_DOUBLE_EQ(evalFloat("pi*2", vars), 6.283185307179586);
    // A name followed by '(' is a function call, otherwise a variable.
    EXPECT_EQ(evalInt("SQRT", vars), 5);
    EXPECT_EQ(evalInt("SQRT(SQRT*5)", vars), 5);
}

TEST(FormulaVariablesTest, CompiledOnceEvaluatedWithCurrentValues) {
    TestVariables vars;
    vars.set("A", 5, 5.5);
    const Formula fi = Formula::compile("A*2", FormulaMode::Integer, vars);
    const Formula ff = Formula::compile("A*2", FormulaMode::Float, vars);
    EXPECT_EQ(fi.evaluateInt(vars), 10);
    EXPECT_DOUBLE_EQ(ff.evaluateFloat(vars), 11.0);
    vars.set("A", -7, -7.25);
    EXPECT_EQ(fi.evaluateInt(vars), -14);
    EXPECT_DOUBLE_EQ(ff.evaluateFloat(vars), -14.5);
}

struct LazyCase {
    const char* text;
    int64_t result;
    int boomReads;
};

TEST(FormulaVariablesTest, UntakenBranchesAreNotRead) {
    const std::vector<LazyCase> cases{
        {"0 && Boom", 0, 0},
        {"1 || Boom", 1, 0},
        {"1 ? 5 : Boom", 5, 0},
        {"0 ? Boom : 6", 6, 0},
        {"0 && (Boom + Boom)", 0, 0},
        {"1 || Boom && Boom", 1, 0},
        {"0 ? Boom : 1 ? 2 : Boom", 2, 0},
        {"A > 100 && Boom", 0, 0},
        {"(0 && Boom) + (1 || Boom) + 3", 4, 0},
        {"0.0 && Boom", 0, 0},
        {"0.5 || Boom", 1, 0},
        // The taken side is read, once.
        {"1 && Boom", 1, 1},
        {"0 || Boom", 1, 1},
        {"0 ? 5 : Boom", 1, 1},
        {"1 ? Boom : 5", 1, 1},
    };
    for (FormulaMode mode : {FormulaMode::Integer, FormulaMode::Float}) {
        for (const LazyCase& c : cases) {
            SCOPED_TRACE(std::string(c.text) +
                         (mode == FormulaMode::Integer ? " (Integer)" : " (Float)"));
            TestVariables vars = standardVariables();
            vars.set("Boom", 1, 1.0);
            const Formula f = Formula::compile(c.text, mode, vars);
            if (mode == FormulaMode::Integer)
                EXPECT_EQ(f.evaluateInt(vars), c.result);
            else
                EXPECT_DOUBLE_EQ(f.evaluateFloat(vars), static_cast<double>(c.result));
            EXPECT_EQ(vars.reads("Boom"), c.boomReads);
        }
    }
}

// ---------------------------------------------------------------------------
// Modes

TEST(FormulaModes, EvaluatingInTheOtherModesType) {
    TestVariables vars = standardVariables();
    const auto floatFormula = [&](const char* text) {
        return Formula::compile(text, FormulaMode::Float, vars);
    };
    const auto intFormula = [&](const char* text) {
        return Formula::compile(text, FormulaMode::Integer, vars);
    };
    EXPECT_EQ(floatFormula("7/2").evaluateInt(vars), 3);
    EXPECT_EQ(floatFormula("-3.9").evaluateInt(vars), -3);
    EXPECT_EQ(floatFormula("-(2**63)").evaluateInt(vars), kMin);
    EXPECT_THROW(floatFormula("2**63").evaluateInt(vars), GenICam::RuntimeException);
    EXPECT_THROW(floatFormula("0/0.5-SQRT(-1)").evaluateInt(vars), GenICam::RuntimeException);
    EXPECT_DOUBLE_EQ(intFormula("7/2").evaluateFloat(vars), 3.0);
    EXPECT_DOUBLE_EQ(intFormula("0xFFFFFFFFFFFFFFFF").evaluateFloat(vars), -1.0);
    EXPECT_DOUBLE_EQ(intFormula("2.75*2").evaluateFloat(vars), 5.0);
}

TEST(FormulaModes, FloatModeReturnsNonFiniteResults) {
    TestVariables vars = standardVariables();
    EXPECT_EQ(evalFloat("LN(0)", vars), -std::numeric_limits<double>::infinity());
    EXPECT_EQ(evalFloat("0**-1", vars), std::numeric_limits<double>::infinity());
    EXPECT_EQ(evalFloat("1e308*10", vars), std::numeric_limits<double>::infinity());
    EXPECT_TRUE(std::isnan(evalFloat("SQRT(-1)", vars)));
    EXPECT_TRUE(std::isnan(evalFloat("ACOS(2)", vars)));
}

TEST(FormulaModes, DecimalLiteralBeyond64BitsOnlyFitsFloatMode) {
    TestVariables vars;
    EXPECT_THROW(Formula::compile("18446744073709551616", FormulaMode::Integer, vars),
                 GenICam::LogicalErrorException);
    EXPECT_DOUBLE_EQ(evalFloat("18446744073709551616", vars), kTwo64);
    EXPECT_DOUBLE_EQ(evalFloat("100000000000000000000000", vars), 1e23);
}

// ---------------------------------------------------------------------------
// Errors

TEST(FormulaErrors, SyntaxErrorsNameTheFormula) {
    // clang-format off
    const char* const cases[] = {
        // Nothing to evaluate, or an operand missing.
        "", "   ", "1+", "+", "-", "~", "**2", "3 % ", "1+*2", "2***3", "1 = = 1",
        // Two operands in a row, trailing tokens.
        "1 2", "A B", "ABS(1)(2)", "A(3)", "1,2",
        // Parentheses.
        "(1+2", "1+2)", "()", ")", "(,)",
        // The conditional operator.
        "1?2", "1?2:", "?1:2", "1:2", "A ? : 1",
        // Malformed or oversized literals.
        "0x", "0xG1", "0x1FFFFFFFFFFFFFFFF", "0x1Fz", "1.2.3", "1e", "1e+", "12abc", "1e400",
        // Function calls.
        "SQRT(1,2)", "SQRT()", "ROUND()", "ROUND(1,2,3)", "SQRT 4", "SQRT(4",
        // Operators of other languages, stray characters.
        "1 == 1", "1 != 2", "1 < > 2", "#", "1 $ 2", ".", "1 + \xC3\xA9",
    };
    // clang-format on
    TestVariables vars = standardVariables();
    for (FormulaMode mode : {FormulaMode::Integer, FormulaMode::Float}) {
        for (const char* text : cases) {
            SCOPED_TRACE(quoted(text));
            try {
                Formula::compile(text, mode, vars);
                ADD_FAILURE() << "compiled without error";
            } catch (const GenICam::LogicalErrorException& e) {
                EXPECT_NE(std::string(e.GetDescription()).find(quoted(text)), std::string::npos)
                    << e.GetDescription();
            }
        }
    }
}

TEST(FormulaErrors, SyntaxErrorsPointAtTheOffendingCharacter) {
    struct PositionCase {
        const char* text;
        const char* position;
    };
    const PositionCase cases[] = {
        {"1 + )", "position 5"}, {"(1+2", "position 5"},    {"1 $ 2", "position 3"},
        {"0xG", "position 1"},   {"A(3)", "position 2"},    {"SQRT(1,2)", "position 7"},
        {"1 2", "position 3"},   {"Foo + 1", "position 1"}, {"1 + Foo", "position 5"},
    };
    TestVariables vars = standardVariables();
    for (const PositionCase& c : cases) {
        SCOPED_TRACE(c.text);
        try {
            Formula::compile(c.text, FormulaMode::Integer, vars);
            ADD_FAILURE() << "compiled without error";
        } catch (const GenICam::LogicalErrorException& e) {
            EXPECT_NE(std::string(e.GetDescription()).find(c.position), std::string::npos)
                << e.GetDescription();
        }
    }
}

TEST(FormulaErrors, EmbeddedNulAndControlBytesAreRejected) {
    TestVariables vars;
    for (std::string_view text : {std::string_view("1\0+2", 4), std::string_view("1 +\x01 2")}) {
        try {
            Formula::compile(text, FormulaMode::Integer, vars);
            ADD_FAILURE() << "compiled without error";
        } catch (const GenICam::LogicalErrorException& e) {
            EXPECT_NE(std::string(e.GetDescription()).find("position"), std::string::npos);
        }
    }
}

TEST(FormulaErrors, UnknownIdentifiersAreNamed) {
    struct UnknownCase {
        const char* text;
        const char* name;
    };
    const UnknownCase cases[] = {
        {"Foo + 1", "'Foo'"},
        {"a * 2", "'a'"}, // resolution is case-sensitive
        {"A.Max", "'A.Max'"},
        {"NOSUCH(3)", "'NOSUCH'"},
        {"1 ? 2 : Missing", "'Missing'"},
        {"SIN", "'SIN'"},
        {"_x", "'_x'"},
    };
    TestVariables vars = standardVariables();
    for (const UnknownCase& c : cases) {
        SCOPED_TRACE(c.text);
        try {
            Formula::compile(c.text, FormulaMode::Float, vars);
            ADD_FAILURE() << "compiled without error";
        } catch (const GenICam::LogicalErrorException& e) {
            const std::string message = e.GetDescription();
            EXPECT_NE(message.find(c.name), std::string::npos) << message;
            EXPECT_NE(message.find(quoted(c.text)), std::string::npos) << message;
        }
    }
}

TEST(FormulaErrors, RunTimeFailuresRaiseRuntimeException) {
    struct RuntimeCase {
        const char* text;
        FormulaMode mode;
    };
    constexpr FormulaMode I = FormulaMode::Integer;
    constexpr FormulaMode F = FormulaMode::Float;
    const RuntimeCase cases[] = {
        {"1/0", I},
        {"1/0", F},
        {"1%0", I},
        {"1%0", F},
        {"A/(B-3)", I},
        {"A/(B-3)", F},
        {"A%Zero", I},
        {"A%Zero", F},
        {"1/0.0", I},
        {"0/0", F},
        {"1.5/Zero", I},
        {"1/Zero", F},
        {"5%0.5", I},
        {"5%0.5", F}, // 0.5 truncates to 0
        {"0**-1", I},
        {"Zero**-2", I},
        {"SQRT(-1)", I},
        {"TRUNC(SQRT(-1))", I}, // NaN to integer
        {"1e300", I},
        {"FLOOR(1e19)", I}, // beyond int64
        {"2.0**63", I},
        {"SQRT(-1)|0", F},
        {"~(1e308*10)", I},
        {"~(1e308*10)", F}, // infinity as a bit pattern
        {"1 ? 1/Zero : 0", I},
        {"0 || A/Zero", F},
    };
    TestVariables vars = standardVariables();
    for (const RuntimeCase& c : cases) {
        SCOPED_TRACE(std::string(c.text) + (c.mode == I ? " (Integer)" : " (Float)"));
        const Formula f = Formula::compile(c.text, c.mode, vars);
        try {
            if (c.mode == I)
                f.evaluateInt(vars);
            else
                f.evaluateFloat(vars);
            ADD_FAILURE() << "evaluated without error";
        } catch (const GenICam::RuntimeException& e) {
            EXPECT_NE(std::string(e.GetDescription()).find(quoted(c.text)), std::string::npos)
                << e.GetDescription();
        }
    }
}

TEST(FormulaErrors, HostileNestingIsRejectedNotFollowed) {
    constexpr size_t n = 100000;
    const std::string cases[] = {
        std::string(n, '(') + "1" + std::string(n, ')'),
        std::string(n, '('),
        std::string(n, '-') + "1",
        std::string(n, '!') + "1",
        std::string(n, '~') + "1",
        repeat("1?", n) + "1" + repeat(":1", n),
        repeat("1?1:", n) + "1",
        repeat("2**", n) + "2",
        repeat("ABS(", n) + "1" + std::string(n, ')'),
        repeat("ROUND(1,", n) + "1" + std::string(n, ')'),
        // Within the nesting limit, but each level keeps eight operands pending.
        repeat("1|1^1&1=1<1<<1+1*(", 200) + "1" + std::string(200, ')'),
    };
    TestVariables vars;
    for (const std::string& text : cases) {
        SCOPED_TRACE(text.substr(0, 20));
        EXPECT_THROW(Formula::compile(text, FormulaMode::Integer, vars),
                     GenICam::LogicalErrorException);
    }
}

TEST(FormulaErrors, DeepButReasonableFormulasWork) {
    TestVariables vars = standardVariables();
    EXPECT_EQ(evalInt(std::string(200, '(') + "A" + std::string(200, ')'), vars), 10);
    EXPECT_EQ(evalInt(std::string(200, '-') + "A", vars), 10);
    EXPECT_EQ(evalInt(repeat("A+(", 200) + "1" + std::string(200, ')'), vars), 2001);
    EXPECT_DOUBLE_EQ(evalFloat(repeat("X+(", 200) + "1" + std::string(200, ')'), vars), 501.0);
    // Eight pending operands on each of 100 levels; every level reduces to 1.
    EXPECT_EQ(evalInt(repeat("1|1^1&1=1<1<<1+1*(", 100) + "A" + std::string(100, ')'), vars), 1);
}

TEST(FormulaErrors, LongFlatFormulasNeedNoNesting) {
    TestVariables vars = standardVariables();
    EXPECT_EQ(evalInt("1" + repeat("+1", 99999), vars), 100000);
    EXPECT_EQ(evalInt("A" + repeat("-A", 9999), vars), -99980);
    EXPECT_EQ(evalInt("1" + repeat("&&1", 9999), vars), 1);
    EXPECT_EQ(vars.reads("A"), 10000);
}

// ---------------------------------------------------------------------------
// The Formula object

TEST(FormulaObject, DefaultIsEmptyAndCannotBeEvaluated) {
    TestVariables vars;
    const Formula f;
    EXPECT_TRUE(f.empty());
    EXPECT_EQ(f.text(), "");
    EXPECT_THROW(f.evaluateInt(vars), GenICam::LogicalErrorException);
    EXPECT_THROW(f.evaluateFloat(vars), GenICam::LogicalErrorException);
}

TEST(FormulaObject, KeepsTheTextAndMoves) {
    TestVariables vars = standardVariables();
    const std::string text = "  A +\n 1 ";
    Formula f = Formula::compile(text, FormulaMode::Integer, vars);
    EXPECT_FALSE(f.empty());
    EXPECT_EQ(f.text(), text);
    Formula g = std::move(f);
    EXPECT_EQ(g.text(), text);
    EXPECT_EQ(g.evaluateInt(vars), 11);
    Formula h;
    h = std::move(g);
    EXPECT_EQ(h.evaluateInt(vars), 11);
}

} // namespace
