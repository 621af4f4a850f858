// The formula language: every expected value below is worked out by hand
// from the language rules, never produced by the evaluator itself.
#include "formula/formula.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
#include <sstream>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "GenICam/exceptions.h"

namespace {

using GenApi::detail::Formula;
using GenApi::detail::FormulaMode;
using GenApi::detail::FormulaVariables;
constexpr FormulaMode I = FormulaMode::Integer;
constexpr FormulaMode F = FormulaMode::Float;

// Variables with an integer and a floating view and a read count, in slots
// from 100 (a slot mix-up shows); names added later shift the slots.
class TestVariables : public FormulaVariables {
public:
    TestVariables() {
        set("A", 10, 10.0), set("B", 3, 3.0), set("X", 2, 2.5), set("Zero", 0, 0.0);
        set("WIDTH.Max", 640, 640.0), set("Gain.Value", 12, 12.5), set("Foo_1.Bar", 1, 1.0);
        set("zoom", 4, 4.0);
    }
    void set(const std::string& name, int64_t i, double f) { values_[name] = {i, f, 0}; }
    int reads(const std::string& name) { return std::get<2>(values_.at(name)); }
    int resolve(std::string_view id) const override {
        resolved.emplace_back(id);
        auto it = values_.find(std::string(id));
        return it == values_.end() ? -1
                                   : 100 + static_cast<int>(std::distance(values_.begin(), it));
    }
    int64_t intValue(int slot) override { return ++std::get<2>(at(slot)), std::get<0>(at(slot)); }
    double floatValue(int slot) override { return ++std::get<2>(at(slot)), std::get<1>(at(slot)); }
    mutable std::vector<std::string> resolved;

private:
    std::tuple<int64_t, double, int>& at(int slot) {
        return std::next(values_.begin(), slot - 100)->second;
    }
    std::map<std::string, std::tuple<int64_t, double, int>> values_;
};

int64_t evalInt(std::string_view text, TestVariables& vars) {
    return Formula::compile(text, I, vars).evaluateInt(vars);
}

double evalFloat(std::string_view text, TestVariables& vars) {
    return Formula::compile(text, F, vars).evaluateFloat(vars);
}

// The rows of a table, separated by ';', without the white space around.
std::vector<std::string> rows(const std::string& table) {
    std::vector<std::string> out;
    std::istringstream in(table);
    for (std::string row; std::getline(in, row, ';');) {
        size_t first = row.find_first_not_of(" \n");
        if (first != std::string::npos)
            out.push_back(row.substr(first, row.find_last_not_of(" \n") - first + 1));
    }
    return out;
}

// Rows "formula => result in Integer mode, result in Float mode".
void checkCases(const std::string& table) {
    TestVariables vars;
    for (const std::string& row : rows(table)) {
        size_t arrow = row.rfind(" => ");
        std::string text = row.substr(0, arrow);
        std::istringstream results(row.substr(arrow + 4));
        std::string asInt, asFloat;
        results >> asInt >> asFloat;
        SCOPED_TRACE("formula: " + text);
        EXPECT_EQ(evalInt(text, vars), static_cast<int64_t>(std::stoull(asInt, nullptr, 0)));
        EXPECT_DOUBLE_EQ(evalFloat(text, vars), std::stod(asFloat));
    }
}

std::string repeat(std::string_view piece, size_t n) {
    std::string s;
    for (size_t k = 0; k < n; ++k)
        s += piece;
    return s;
}

// The description of the GenICam exception `f` raises, or a failure.
template <class E, class Fn> std::string raises(Fn&& f) {
    try {
        f();
        ADD_FAILURE() << "no exception";
    } catch (const E& e) {
        return e.GetDescription();
    }
    return {};
}

// 2^63 = 9223372036854775808, 2^64 = 18446744073709551616. Power binds
// tighter than unary minus and associates to the right; an integer power is
// the real result truncated.
TEST(FormulaResults, ArithmeticPowersAndWrapAround) {
    checkCases(R"(
        1+2*3 => 7 7; (1+2)*3 => 9 9; 10-4-3 => 3 3; 100/10/5 => 2 2; 7/2 => 3 3.5; -7/2 => -3 -3.5;
        7%3 => 1 1; -7%3 => -1 -1; 7%-3 => 1 1; 2+3%2 => 3 3; 2*3%4 => 2 2; 1/3*3 => 0 1;
        A/B => 3 3.3333333333333335; A%B => 1 1; A-B*X => 4 2.5; 1e2/3 => 33 33.333333333333336;
        2**10 => 1024 1024; 2**3**2 => 512 512; -2**2 => -4 -4; (-2)**2 => 4 4; 2*3**2 => 18 18;
        2**-1 => 0 0.5; 2**-2 => 0 0.25; 1**-5 => 1 1; (-1)**-3 => -1 -1; (-1)**-2 => 1 1;
        (-3)**3 => -27 -27; 0**0 => 1 1; (A+B)*2**B => 104 104;
        2**62 => 4611686018427387904 4611686018427387904;
        2**63 => 9223372036854775808 9223372036854775808; 2**64 => 0 18446744073709551616;
        3**40 => 12157665459056928801 12157665459056928801;
        0x7FFFFFFFFFFFFFFF+1 => 9223372036854775808 9223372036854775808;
        -0x8000000000000000 => 9223372036854775808 9223372036854775808;
        0x8000000000000000/-1 => 9223372036854775808 9223372036854775808;
        0x8000000000000000%-1 => 0 0; 0x4000000000000000*4 => 0 18446744073709551616;
        0-0x8000000000000000-1 => 9223372036854775807 9223372036854775808;
        ABS(0x8000000000000000) => 9223372036854775808 9223372036854775808;
        NEG(0x8000000000000000) => 9223372036854775808 9223372036854775808)");
}

// Shifts are arithmetic; counts of 64 or more shift every bit out, negative
// counts shift the other way. Double operands of bit operations are
// truncated toward zero and wrap modulo 2^64.
TEST(FormulaResults, ShiftsAndBitOperations) {
    checkCases(R"(
        1<<4 => 16 16; 1+2<<3 => 24 24; 1<<2+3 => 32 32; 256>>4 => 16 16; -16>>2 => -4 -4;
        1<<63 => 0x8000000000000000 -9223372036854775808; (1<<63)>>63 => -1 -1; 1<<64 => 0 0;
        3<<1000 => 0 0; 5>>64 => 0 0; -1>>64 => -1 -1; 8<<-2 => 2 2; 8>>-2 => 32 32;
        -8<<-1 => -4 -4; 1<<-64 => 0 0; -1<<-64 => -1 -1; 5<<0x8000000000000000 => 0 0;
        -5<<0x8000000000000000 => -1 -1; 5>>0x8000000000000000 => 0 0; 6&3 => 2 2; 6|3 => 7 7;
        6^3 => 5 5; 1|2^3&4 => 3 3; 3|1^1 => 3 3; 6&3^1 => 3 3; 5&3=1 => 0 0; ~0 => -1 -1;
        ~5 => -6 -6; ~-1 => 0 0; 0xFF & 0x0F => 15 15; 0xF0 | 0x0F => 255 255; 7.9 & 3 => 3 3;
        -7.9 | 0 => -7 -7; 10%3.5 => 1 1; ~2.5 => -3 -3; (2**64+5)|0 => 5 0;
        (2**63)|0 => 0x8000000000000000 -9223372036854775808; -(2**64)-4096|0 => -4096 -4096)");
}

// Mixed branches make a whole conditional a double in Integer mode.
TEST(FormulaResults, ComparisonsLogicAndConditionals) {
    checkCases(R"(
        2<3 => 1 1; 3<2 => 0 0; 2>3 => 0 0; 3>2 => 1 1; 2<=2 => 1 1; 3<=2 => 0 0; 3>=4 => 0 0;
        4>=4 => 1 1; 2=2 => 1 1; 2<>2 => 0 0; 2<>3 => 1 1; 1<2<<1 => 1 1; 3<5=1 => 1 1;
        2=2=1 => 1 1; -1<0 => 1 1; 0xFFFFFFFFFFFFFFFF<0 => 1 1; 2.5>2 => 1 1; 2.5=2 => 0 0;
        0.1+0.2=0.3 => 0 0; 1&&2 => 1 1; 5&&0 => 0 0; 0||7 => 1 1; 0||0 => 0 0; !0 => 1 1;
        !5 => 0 0; !!7 => 1 1; !0.5 => 0 0; !0.0 => 1 1; 0.5&&1 => 1 1; 1||1&&0 => 1 1;
        0&&0||1 => 1 1; 1|0&&0 => 0 0; !1+1 => 1 1; 2&&3=3 => 1 1; Zero||A => 1 1; 1?2:3 => 2 2;
        0?2:3 => 3 3; 0?1:0?2:3 => 3 3; 1?0?4:5:6 => 5 5; 1+1?10:20 => 10 10; 0||0?1:2 => 2 2;
        1?1:2+3 => 1 1; (1?1:2)+3 => 4 4; A>B?A:B => 10 10; 1?2.5:1 => 2 2.5; (0?2.5:3)/2*2 => 3 3;
        (1?7:2.5)/2*2 => 7 7)");
}

TEST(FormulaResults, UnaryOperatorsLiteralsAndWhiteSpace) {
    checkCases(R"(
        --3 => 3 3; -+-3 => 3 3; +3 => 3 3; - 3 * - 2 => 6 6; 10 - -2 => 12 12; 2*-3 => -6 -6;
        -~0 => 1 1; -X => -2 -2.5; 0x10 => 16 16; 0XfF => 255 255; 0xFFFFFFFFFFFFFFFF => -1 -1;
        0x00000000000000000001 => 1 1;
        9223372036854775808 => 9223372036854775808 9223372036854775808;
        18446744073709551615 => -1 18446744073709551616; 1.5e3 => 1500 1500; 2E2 => 200 200;
        1.5e-3*1000 => 1 1.5; 2.5*2 => 5 5; 0.5+0.5+0.5 => 1 1.5; -2.5 => -2 -2.5; .5*4 => 2 2;
        3. => 3 3; 7.0/2 => 3 3.5; SQRT (16) => 4 4; ROUND( 2.5 ,
        0 ) => 3 3; A
        >
        B ? 1 : 2 => 1 1;
    )");
    TestVariables vars;
    EXPECT_EQ(evalInt(" \t1 +\r\n2*3 ", vars), 7);
}

// TRUNC, FLOOR, CEIL and ROUND give integers in Integer mode, except ROUND
// with decimals; constants are doubles; names keep dots and underscores.
TEST(FormulaResults, FunctionsConstantsAndVariables) {
    checkCases(R"(
        SGN(-5) => -1 -1; SGN(0) => 0 0; SGN(3.5) => 1 1; SGN(-0.5) => -1 -1; NEG(4) => -4 -4;
        NEG(-2.5) => 2 2.5; ABS(-7) => 7 7; ABS(-2.5) => 2 2.5; SQRT(16) => 4 4;
        SQRT(2) => 1 1.4142135623730951; SQRT(9)/2*2 => 3 3; EXP(0) => 1 1;
        EXP(1) => 2 2.718281828459045; LN(1) => 0 0; LN(100) => 4 4.605170185988092;
        LG(1000)+0.5 => 3 3.5; LG(100)-0.5 => 1 1.5; SIN(0) => 0 0; SIN(PI/6)*2+0.5 => 1 1.5;
        COS(0) => 1 1; COS(PI)-0.5 => -1 -1.5; TAN(0) => 0 0; TAN(PI/4)+0.5 => 1 1.5;
        ATAN(1)*4 => 3 3.141592653589793; ASIN(1)*2 => 3 3.141592653589793; ACOS(1) => 0 0;
        ACOS(-1) => 3 3.141592653589793; TRUNC(2.7) => 2 2; TRUNC(-2.7) => -2 -2; FLOOR(2.5) => 2 2;
        FLOOR(-2.5) => -3 -3; FLOOR(-0.5) => -1 -1; CEIL(2.1) => 3 3; CEIL(-2.1) => -2 -2;
        ROUND(2.4) => 2 2; ROUND(2.5) => 3 3; ROUND(-2.5) => -3 -3; TRUNC(9.5)/2*2 => 8 9;
        FLOOR(7.5)/2 => 3 3.5; CEIL(6.5)/2 => 3 3.5; ROUND(6.5)/2 => 3 3.5; TRUNC(7)/2 => 3 3.5;
        ROUND(3.14159, 2) => 3 3.14; ROUND(-1.25, 1) => -1 -1.3; ROUND(1234.5678, -2) => 1200 1200;
        ROUND(7, 1) => 7 7; ROUND(6.5, 0)/2*2 => 7 7; sqrt(16) => 4 4; Abs(-3) => 3 3;
        ABS(NEG(SGN(-3))) => 1 1; SQRT(A*B-5)+X => 7 7.5; PI => 3 3.141592653589793;
        E => 2 2.718281828459045; PI*10 => 31 31.41592653589793; e => 2 2.718281828459045;
        E**0 => 1 1; WIDTH.Max/2 => 320 320; Gain.Value*2 => 24 25; X*2 => 4 5;
        Foo_1.Bar+WIDTH.Max => 641 641; zoom*2 => 8 8)");
}

TEST(FormulaVariablesTest, ResolutionEvaluationAndWhatIsRead) {
    TestVariables vars;
    Formula::compile("WIDTH.Max + Foo_1.Bar*SQRT(A) + PI", I, vars);
    // Function names are not variables; PI is offered to the variables first.
    EXPECT_EQ(vars.resolved, (std::vector<std::string>{"WIDTH.Max", "Foo_1.Bar", "A", "PI"}));
    vars.set("PI", 3, 3.0);
    vars.set("SQRT", 5, 5.0);
    EXPECT_EQ(evalInt("PI*2", vars), 6);
    EXPECT_DOUBLE_EQ(evalFloat("pi*2", vars), 6.283185307179586) << "resolution is exact";
    EXPECT_EQ(evalInt("SQRT(SQRT*5)", vars), 5) << "a name followed by '(' is a function";

    // Compiled once, evaluated with the current values.
    const Formula fi = Formula::compile("A*2", I, vars), ff = Formula::compile("A*2", F, vars);
    vars.set("A", -7, -7.25);
    EXPECT_EQ(fi.evaluateInt(vars), -14);
    EXPECT_DOUBLE_EQ(ff.evaluateFloat(vars), -14.5);

    // Untaken branches are not read. Rows "formula => result, reads of Boom".
    for (FormulaMode mode : {I, F})
        for (const std::string& row : rows(R"(
                 0 && Boom => 0 0; 1 || Boom => 1 0; 1 ? 5 : Boom => 5 0; 0 ? Boom : 6 => 6 0;
                 0 && (Boom + Boom) => 0 0; 1 || Boom && Boom => 1 0; 0.0 && Boom => 0 0;
                 0 ? Boom : 1 ? 2 : Boom => 2 0; A > 100 && Boom => 0 0; 0.5 || Boom => 1 0;
                 1 && Boom => 1 1; 0 || Boom => 1 1; 0 ? 5 : Boom => 1 1; 1 ? Boom : 5 => 1 1)")) {
            TestVariables lazy;
            lazy.set("Boom", 1, 1.0);
            std::string text = row.substr(0, row.find(" =>"));
            const Formula f = Formula::compile(text, mode, lazy);
            double result =
                mode == I ? static_cast<double>(f.evaluateInt(lazy)) : f.evaluateFloat(lazy);
            EXPECT_EQ(std::to_string(static_cast<int>(result)) + " " +
                          std::to_string(lazy.reads("Boom")),
                      row.substr(row.find("=> ") + 3))
                << text;
        }
    TestVariables flat;
    EXPECT_EQ(evalInt("A" + repeat("-A", 9999), flat), -99980);
    EXPECT_EQ(flat.reads("A"), 10000) << "one read per occurrence";
}

TEST(FormulaModes, ConversionsBetweenModesAndNonFiniteResults) {
    TestVariables vars;
    auto inFloat = [&](const char* text) { return Formula::compile(text, F, vars); };
    EXPECT_EQ(inFloat("7/2").evaluateInt(vars), 3);
    EXPECT_EQ(inFloat("-3.9").evaluateInt(vars), -3);
    EXPECT_EQ(inFloat("-(2**63)").evaluateInt(vars), std::numeric_limits<int64_t>::min());
    raises<GenICam::RuntimeException>([&] { inFloat("2**63").evaluateInt(vars); });
    raises<GenICam::RuntimeException>([&] { inFloat("0/0.5-SQRT(-1)").evaluateInt(vars); });
    EXPECT_DOUBLE_EQ(Formula::compile("7/2", I, vars).evaluateFloat(vars), 3.0);
    EXPECT_DOUBLE_EQ(Formula::compile("2.75*2", I, vars).evaluateFloat(vars), 5.0);
    EXPECT_EQ(evalFloat("LN(0)", vars), -INFINITY);
    EXPECT_EQ(evalFloat("0**-1", vars), INFINITY);
    EXPECT_EQ(evalFloat("1e308*10", vars), INFINITY);
    EXPECT_TRUE(std::isnan(evalFloat("ACOS(2)", vars)));
    // A decimal literal beyond 64 bits only fits Float mode.
    raises<GenICam::LogicalErrorException>(
        [&] { Formula::compile("18446744073709551616", I, vars); });
    EXPECT_DOUBLE_EQ(evalFloat("100000000000000000000000", vars), 1e23);
    const Formula empty;
    EXPECT_TRUE(empty.empty());
    raises<GenICam::LogicalErrorException>([&] { empty.evaluateInt(vars); });
}

// Syntax errors name the formula, in both modes, and what the row gives
// after " @ ": the offending position or the unknown name.
TEST(FormulaErrors, SyntaxErrorsNameTheFormulaAndTheOffence) {
    TestVariables vars;
    std::vector<std::string> cases = rows(R"(
        1 + ) @ position 5; (1+2 @ position 5; 1 $ 2 @ position 3; 0xG @ position 1;
        A(3) @ position 2; SQRT(1,2) @ position 7; 1 2 @ position 3; 1 + Foo @ position 5;
        Foo + 1 @ 'Foo'; a * 2 @ 'a'; A.Max @ 'A.Max'; NOSUCH(3) @ 'NOSUCH';
        1 ? 2 : Missing @ 'Missing'; 1+; +; -; ~; **2; 1+*2; 2***3; 1 = = 1; A B; ABS(1)(2); 1,2;
        1+2); (); ); (,); 1?2; 1?2:; ?1:2; 1:2; A ? : 1; 0x; 0xG1; 0x1FFFFFFFFFFFFFFFF; 0x1Fz;
        1.2.3; 1e; 1e+; 12abc; 1e400; SQRT(); ROUND(); ROUND(1,2,3); SQRT 4; SQRT(4; 1 == 1; 1 != 2;
        1 < > 2; #; .; SIN; _x)");
    // Nothing, white space only, trailing white space, bytes of no token.
    cases.insert(cases.end(), {"", "   ", "3 % ", "1 + \xC3\xA9",
                               std::string("1\0+2 @ position 2: unexpected byte 0x00", 39),
                               "1 +\x01 2 @ position 4: unexpected byte 0x01"});
    for (FormulaMode mode : {I, F})
        for (const std::string& row : cases) {
            size_t at = row.find(" @ ");
            std::string text = row.substr(0, at), shown = "'" + text + "'";
            std::string what =
                raises<GenICam::LogicalErrorException>([&] { Formula::compile(text, mode, vars); });
            // Control bytes show as spaces.
            std::replace_if(
                shown.begin(), shown.end(), [](char c) { return c >= 0 && c < ' '; }, ' ');
            EXPECT_NE(what.find(shown), std::string::npos) << what;
            EXPECT_NE(what.find(at == std::string::npos ? "" : row.substr(at + 3)),
                      std::string::npos)
                << what;
        }
}

// Rows "formula I|F": evaluation raises a runtime error naming the formula.
TEST(FormulaErrors, RunTimeFailuresRaise) {
    TestVariables vars;
    for (const std::string& row : rows(R"(
             1/0 I; 1/0 F; 1%0 I; 1%0 F; A/(B-3) I; A/(B-3) F; A%Zero I; A%Zero F; 1/0.0 I; 0/0 F;
             1.5/Zero I; 1/Zero F; 5%0.5 I; 5%0.5 F; 0**-1 I; Zero**-2 I; SQRT(-1) I;
             TRUNC(SQRT(-1)) I; 1e300 I; FLOOR(1e19) I; 2.0**63 I; SQRT(-1)|0 F; ~(1e308*10) I;
             ~(1e308*10) F; 1 ? 1/Zero : 0 I; 0 || A/Zero F)")) {
        std::string text = row.substr(0, row.size() - 2);
        FormulaMode mode = row.back() == 'I' ? I : F;
        const Formula f = Formula::compile(text, mode, vars);
        std::string what = raises<GenICam::RuntimeException>([&] {
            if (mode == I)
                f.evaluateInt(vars);
            else
                f.evaluateFloat(vars);
        });
        EXPECT_NE(what.find("'" + text + "'"), std::string::npos) << what;
    }
}

// Hostile nesting is refused, reasonable depth and flat length work.
TEST(FormulaErrors, NestingIsBoundedAndFlatLengthIsNot) {
    constexpr size_t n = 100000;
    TestVariables vars;
    for (const std::string& text :
         {std::string(n, '(') + "1" + std::string(n, ')'), std::string(n, '('),
          std::string(n, '-') + "1", std::string(n, '!') + "1", std::string(n, '~') + "1",
          repeat("1?", n) + "1" + repeat(":1", n), repeat("1?1:", n) + "1", repeat("2**", n) + "2",
          repeat("ABS(", n) + "1" + std::string(n, ')'),
          repeat("ROUND(1,", n) + "1" + std::string(n, ')'),
          // Within the nesting limit, but each level keeps eight operands pending.
          repeat("1|1^1&1=1<1<<1+1*(", 200) + "1" + std::string(200, ')')})
        raises<GenICam::LogicalErrorException>([&] { Formula::compile(text, I, vars); });
    EXPECT_EQ(evalInt(std::string(200, '(') + "A" + std::string(200, ')'), vars), 10);
    EXPECT_EQ(evalInt(std::string(200, '-') + "A", vars), 10);
    EXPECT_EQ(evalInt(repeat("A+(", 200) + "1" + std::string(200, ')'), vars), 2001);
    EXPECT_DOUBLE_EQ(evalFloat(repeat("X+(", 200) + "1" + std::string(200, ')'), vars), 501.0);
    EXPECT_EQ(evalInt(repeat("1|1^1&1=1<1<<1+1*(", 100) + "A" + std::string(100, ')'), vars), 1);
    EXPECT_EQ(evalInt("1" + repeat("+1", 99999), vars), 100000);
    EXPECT_EQ(evalInt("1" + repeat("&&1", 9999), vars), 1);
}

} // namespace
