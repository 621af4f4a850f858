// Compiler and interpreter for the GenICam formula language.
//
// The text is parsed by recursive descent straight into a flat postfix
// program: operands are pushed on a small value stack and operators replace
// their operands by the result. `&&`, `||` and `?:` compile to jumps so that
// the untaken side is never evaluated (reading a variable may touch a device).
//
// Value types. In Float mode every value is a double. In Integer mode values
// are int64 or double, and the type of each sub-expression is known when it
// is compiled, so every instruction is tailored to its operand types and
// no type tags exist at run time:
//   - integer literals and variables are int64; floating literals, PI, E and
//     the transcendental functions (SQRT, SIN, EXP, LN, ...) are double;
//   - int op int stays int64, int op double becomes double;
//   - comparisons, logical operators, bit operations, % and SGN give int64;
//   - TRUNC, FLOOR, CEIL and ROUND(x) give int64; ROUND(x, n) gives double;
//   - the result of the whole formula is truncated toward zero to int64.
//
// Integer arithmetic wraps modulo 2^64 instead of overflowing (an exact
// evaluation reports instead whether any step wrapped). Doubles used
// as operands of bit operations, shifts and % are truncated toward zero and
// wrapped modulo 2^64 (NaN and infinity raise). A negative shift count shifts
// the other way; counts of 64 or more leave 0 (or -1 for >> of a negative).
//
// Variables are read through FormulaVariables::intValue in Integer mode and
// through floatValue in Float mode.
#include "formula/formula.h"

#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <numbers>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "GenICam/exceptions.h"

namespace GenApi::detail {
namespace {

// Parentheses, function calls, unary operators, exponents and ternary branches
// each open one nesting level. The limit keeps the recursive parser far away
// from the end of the thread's stack whatever the input.
constexpr int kMaxNesting = 256;
// Evaluation stack entries. Nearly every formula fits the small frame; the
// large one bounds what a pathological but legal formula may use.
constexpr int kSmallStack = 32;
constexpr int kMaxStack = 1024;
// Keeps instruction indices well inside int32.
constexpr size_t kMaxTextLength = size_t{1} << 24;
// Longer formulas are shortened when quoted in an error message.
constexpr size_t kQuotedTextLength = 120;

constexpr double kTwo63 = 9223372036854775808.0;
constexpr double kTwo64 = 18446744073709551616.0;
// From this magnitude on every double is an integer.
constexpr double kTwo52 = 4503599627370496.0;

enum class Type : uint8_t { Int, Float };

// One evaluation stack entry. Which member is live is fixed by the compiler's
// static typing; the interpreter never reads the other one.
union Value {
    int64_t i;
    double f;
};

Value intValue(int64_t i) {
    Value v;
    v.i = i;
    return v;
}

Value floatValue(double f) {
    Value v;
    v.f = f;
    return v;
}

// Suffix I: int64 operands, F: double operands. The "1" variants act on the
// entry below the top of the stack (the left operand of a binary operator).
enum class Op : uint8_t {
    End,
    Const,
    VarI,
    VarF,
    I2F,
    I2F1,
    F2IW, // double -> int64 operand of a bit operation, wrapping modulo 2^64
    F2IW1,
    F2IC, // double -> int64 value, raising when not representable
    AddI,
    SubI,
    MulI,
    DivI,
    ModI,
    PowI,
    NegI,
    AbsI,
    SgnI,
    AddF,
    SubF,
    MulF,
    DivF,
    PowF,
    NegF,
    AbsF,
    SgnF, // gives int64
    BitAnd,
    BitOr,
    BitXor,
    Shl,
    Shr,
    BitNot,
    EqI,
    NeI,
    LtI,
    GtI,
    LeI,
    GeI,
    EqF, // double comparisons give int64
    NeF,
    LtF,
    GtF,
    LeF,
    GeF,
    LNotI,
    LNotF,
    TruthI, // any value -> int64 0 or 1
    TruthF,
    Jmp,
    I2FJmp, // converts the top to double, then jumps
    JzI,    // pops; jumps when zero
    JzF,
    AndJI, // zero: replaces the top by the instruction's value and jumps; else pops
    AndJF,
    OrJI, // non-zero: replaces the top by the instruction's value and jumps; else pops
    OrJF,
    Atan,
    Cos,
    Sin,
    Tan,
    Exp,
    Ln,
    Lg,
    Sqrt,
    Asin,
    Acos,
    TruncF,
    FloorF,
    CeilF,
    RoundF,
    RoundDigitsF,
};

struct Instr {
    Op op;
    int32_t arg; // variable slot or jump target
    Value v;     // constant, or the value a short-circuit jump leaves behind
};

int stackEffect(Op op) {
    switch (op) {
    case Op::Const:
    case Op::VarI:
    case Op::VarF:
        return 1;
    case Op::AddI:
    case Op::SubI:
    case Op::MulI:
    case Op::DivI:
    case Op::ModI:
    case Op::PowI:
    case Op::AddF:
    case Op::SubF:
    case Op::MulF:
    case Op::DivF:
    case Op::PowF:
    case Op::BitAnd:
    case Op::BitOr:
    case Op::BitXor:
    case Op::Shl:
    case Op::Shr:
    case Op::EqI:
    case Op::NeI:
    case Op::LtI:
    case Op::GtI:
    case Op::LeI:
    case Op::GeI:
    case Op::EqF:
    case Op::NeF:
    case Op::LtF:
    case Op::GtF:
    case Op::LeF:
    case Op::GeF:
    case Op::RoundDigitsF:
    case Op::JzI:
    case Op::JzF:
    case Op::AndJI:
    case Op::AndJF:
    case Op::OrJI:
    case Op::OrJF:
        return -1; // for the short-circuit jumps: on the path that falls through
    default:
        return 0;
    }
}

// ---------------------------------------------------------------------------
// Messages

std::string quoteForMessage(std::string_view text) {
    std::string out;
    const size_t n = text.size() > kQuotedTextLength ? kQuotedTextLength : text.size();
    out.reserve(n + 3);
    for (size_t k = 0; k < n; ++k) {
        const auto c = static_cast<unsigned char>(text[k]);
        // Multi-line formulas are common; control bytes would garble the message.
        out.push_back(c < 0x20 || c == 0x7f ? ' ' : text[k]);
    }
    if (n < text.size()) out += "...";
    return out;
}

[[noreturn]] __attribute__((noinline, cold)) void raiseRuntime(const std::string& text,
                                                               const char* what) {
    throw RUNTIME_EXCEPTION("%s in formula '%s'", what, quoteForMessage(text).c_str());
}

[[noreturn]] __attribute__((noinline, cold)) void raiseConversion(const std::string& text,
                                                                  double x) {
    if (std::isnan(x))
        throw RUNTIME_EXCEPTION("NaN cannot be converted to an integer in formula '%s'",
                                quoteForMessage(text).c_str());
    throw RUNTIME_EXCEPTION("%g does not fit a 64-bit integer in formula '%s'", x,
                            quoteForMessage(text).c_str());
}

// ---------------------------------------------------------------------------
// Arithmetic helpers, all free of undefined behaviour

int64_t wrapAdd(int64_t a, int64_t b) {
    return static_cast<int64_t>(static_cast<uint64_t>(a) + static_cast<uint64_t>(b));
}
int64_t wrapSub(int64_t a, int64_t b) {
    return static_cast<int64_t>(static_cast<uint64_t>(a) - static_cast<uint64_t>(b));
}
int64_t wrapMul(int64_t a, int64_t b) {
    return static_cast<int64_t>(static_cast<uint64_t>(a) * static_cast<uint64_t>(b));
}
int64_t wrapNeg(int64_t a) {
    return static_cast<int64_t>(0 - static_cast<uint64_t>(a));
}

// A value conversion: truncates toward zero and must land inside int64.
bool checkedToInt(double x, int64_t& out) {
    const double t = std::trunc(x);
    if (!(t >= -kTwo63 && t < kTwo63)) return false; // also rejects NaN
    out = static_cast<int64_t>(t);
    return true;
}

// The operand conversion of bit operations, shifts and %: truncates toward
// zero and wraps modulo 2^64, so that doubles carrying unsigned 64-bit
// register contents keep their low bits. Only NaN and infinity fail.
bool wrappedToInt(double x, int64_t& out) {
    if (!std::isfinite(x)) return false;
    const double t = std::trunc(x);
    if (t >= -kTwo63 && t < kTwo63) {
        out = static_cast<int64_t>(t);
        return true;
    }
    // Doubles this large are multiples of 2^11, so fmod and the addition are exact.
    double r = std::fmod(t, kTwo64);
    if (r < 0) r += kTwo64;
    out = r < kTwo64 ? static_cast<int64_t>(static_cast<uint64_t>(r)) : 0;
    return true;
}

// Shift counts: a negative count shifts the other way; counts of 64 or more
// shift every bit out (>> keeps the sign, being arithmetic).
int64_t shiftRightBy(int64_t a, uint64_t n) {
    if (n >= 64) return a < 0 ? -1 : 0;
    return a >> n;
}
int64_t shiftLeftBy(int64_t a, uint64_t n) {
    if (n >= 64) return 0;
    return static_cast<int64_t>(static_cast<uint64_t>(a) << n);
}
// The magnitude of a negative count, computed without negating INT64_MIN.
uint64_t magnitude(int64_t c) {
    return 0 - static_cast<uint64_t>(c);
}

int64_t shiftLeft(int64_t a, int64_t c) {
    return c >= 0 ? shiftLeftBy(a, static_cast<uint64_t>(c)) : shiftRightBy(a, magnitude(c));
}
int64_t shiftRight(int64_t a, int64_t c) {
    return c >= 0 ? shiftRightBy(a, static_cast<uint64_t>(c)) : shiftLeftBy(a, magnitude(c));
}
// Whether shifting `a` left by `n` loses bits that an exact result would keep.
bool shiftLeftWraps(int64_t a, uint64_t n) {
    return n >= 64 ? a != 0 : shiftRightBy(shiftLeftBy(a, n), n) != a;
}

// Integer power. A negative exponent gives the real power truncated toward
// zero, keeping the result an integer: 0 unless the base is 1 or -1, and a
// division by zero for base 0.
bool powInt(int64_t base, int64_t exponent, int64_t& out, bool& wrapped) {
    if (exponent < 0) {
        if (base == 0) return false;
        if (base == 1)
            out = 1;
        else if (base == -1)
            out = (exponent & 1) ? -1 : 1;
        else
            out = 0;
        return true;
    }
    // The builtins leave the product modulo 2^64 and tell whether it wrapped.
    int64_t result = 1;
    int64_t b = base;
    for (uint64_t e = static_cast<uint64_t>(exponent); e != 0;) {
        if (e & 1) wrapped |= __builtin_mul_overflow(result, b, &result);
        e >>= 1;
        if (e != 0) wrapped |= __builtin_mul_overflow(b, b, &b);
    }
    out = result;
    return true;
}

int64_t sign(double x) {
    return x > 0 ? 1 : (x < 0 ? -1 : 0);
}

// ROUND(x, n): rounds half away from zero to n decimals (n < 0 rounds to tens,
// hundreds, ...). Scaling by an exact power of ten on the integer side keeps
// results such as ROUND(1234.5, -2) exact.
double roundDigits(double x, double n) {
    if (std::isnan(n)) return n;
    if (!std::isfinite(x)) return x;
    const double digits = std::trunc(n);
    const double p = std::pow(10.0, std::fabs(digits));
    if (digits >= 0) {
        const double y = x * p;
        // Already integral at that scale (or the scale is beyond double range).
        if (!std::isfinite(y) || std::fabs(y) >= kTwo52) return x;
        return std::round(y) / p;
    }
    if (!std::isfinite(p)) return 0.0 * x; // rounding to an astronomically large unit
    return std::round(x / p) * p;
}

// ---------------------------------------------------------------------------
// Interpreter

// `Exact`: integer steps note in `wrapped` whether they wrapped around, and a
// double result that does not fit int64 sets it instead of raising.
template <int N, bool Exact = false>
Value execute(const Instr* code, FormulaVariables* vars, const std::string& text,
              bool* wrapped = nullptr) {
    // Plain evaluation ignores what the helpers note.
    bool ignored = false;
    bool& wrap = Exact ? *wrapped : ignored;
    Value stack[N];
    Value* sp = stack; // next free entry; sp[-1] is the top
    const Instr* ip = code;
    for (;;) {
        const Instr& in = *ip++;
        switch (in.op) {
        case Op::End:
            return sp[-1];
        case Op::Const:
            *sp++ = in.v;
            break;
        case Op::VarI:
            sp->i = vars->intValue(in.arg);
            ++sp;
            break;
        case Op::VarF:
            sp->f = vars->floatValue(in.arg);
            ++sp;
            break;
        case Op::I2F:
            sp[-1].f = static_cast<double>(sp[-1].i);
            break;
        case Op::I2F1:
            sp[-2].f = static_cast<double>(sp[-2].i);
            break;
        case Op::F2IW:
        case Op::F2IW1: {
            Value& v = in.op == Op::F2IW ? sp[-1] : sp[-2];
            int64_t r = 0;
            if (!wrappedToInt(v.f, r))
                raiseRuntime(text, "NaN or infinite operand of an integer operator");
            v.i = r;
            break;
        }
        case Op::F2IC: {
            int64_t r = 0;
            if (!checkedToInt(sp[-1].f, r)) {
                if (!Exact) raiseConversion(text, sp[-1].f);
                wrap = true;
            }
            sp[-1].i = r;
            break;
        }
        case Op::AddI:
            --sp;
            if (Exact)
                wrap |= __builtin_add_overflow(sp[-1].i, sp->i, &sp[-1].i);
            else
                sp[-1].i = wrapAdd(sp[-1].i, sp->i);
            break;
        case Op::SubI:
            --sp;
            if (Exact)
                wrap |= __builtin_sub_overflow(sp[-1].i, sp->i, &sp[-1].i);
            else
                sp[-1].i = wrapSub(sp[-1].i, sp->i);
            break;
        case Op::MulI:
            --sp;
            if (Exact)
                wrap |= __builtin_mul_overflow(sp[-1].i, sp->i, &sp[-1].i);
            else
                sp[-1].i = wrapMul(sp[-1].i, sp->i);
            break;
        case Op::DivI: {
            --sp;
            const int64_t b = sp->i;
            if (b == 0) raiseRuntime(text, "Division by zero");
            // INT64_MIN / -1 wraps like the other operators.
            if (b == -1) wrap |= sp[-1].i == INT64_MIN;
            sp[-1].i = b == -1 ? wrapNeg(sp[-1].i) : sp[-1].i / b;
            break;
        }
        case Op::ModI: {
            --sp;
            const int64_t b = sp->i;
            if (b == 0) raiseRuntime(text, "Modulo by zero");
            sp[-1].i = b == -1 ? 0 : sp[-1].i % b; // C remainder: sign of the dividend
            break;
        }
        case Op::PowI: {
            --sp;
            int64_t r = 0;
            if (!powInt(sp[-1].i, sp->i, r, wrap)) raiseRuntime(text, "Division by zero");
            sp[-1].i = r;
            break;
        }
        case Op::NegI:
            wrap |= sp[-1].i == INT64_MIN;
            sp[-1].i = wrapNeg(sp[-1].i);
            break;
        case Op::AbsI:
            wrap |= sp[-1].i == INT64_MIN;
            if (sp[-1].i < 0) sp[-1].i = wrapNeg(sp[-1].i);
            break;
        case Op::SgnI:
            sp[-1].i = sp[-1].i > 0 ? 1 : (sp[-1].i < 0 ? -1 : 0);
            break;
        case Op::AddF:
            --sp;
            sp[-1].f += sp->f;
            break;
        case Op::SubF:
            --sp;
            sp[-1].f -= sp->f;
            break;
        case Op::MulF:
            --sp;
            sp[-1].f *= sp->f;
            break;
        case Op::DivF:
            --sp;
            if (sp->f == 0.0) raiseRuntime(text, "Division by zero");
            sp[-1].f /= sp->f;
            break;
        case Op::PowF:
            --sp;
            sp[-1].f = std::pow(sp[-1].f, sp->f);
            break;
        case Op::NegF:
            sp[-1].f = -sp[-1].f;
            break;
        case Op::AbsF:
            sp[-1].f = std::fabs(sp[-1].f);
            break;
        case Op::SgnF:
            sp[-1].i = sign(sp[-1].f);
            break;
        case Op::BitAnd:
            --sp;
            sp[-1].i &= sp->i;
            break;
        case Op::BitOr:
            --sp;
            sp[-1].i |= sp->i;
            break;
        case Op::BitXor:
            --sp;
            sp[-1].i ^= sp->i;
            break;
        case Op::Shl:
            --sp;
            if (Exact && sp->i > 0) wrap |= shiftLeftWraps(sp[-1].i, static_cast<uint64_t>(sp->i));
            sp[-1].i = shiftLeft(sp[-1].i, sp->i);
            break;
        case Op::Shr:
            --sp;
            if (Exact && sp->i < 0) wrap |= shiftLeftWraps(sp[-1].i, magnitude(sp->i));
            sp[-1].i = shiftRight(sp[-1].i, sp->i);
            break;
        case Op::BitNot:
            sp[-1].i = ~sp[-1].i;
            break;
        case Op::EqI:
            --sp;
            sp[-1].i = sp[-1].i == sp->i;
            break;
        case Op::NeI:
            --sp;
            sp[-1].i = sp[-1].i != sp->i;
            break;
        case Op::LtI:
            --sp;
            sp[-1].i = sp[-1].i < sp->i;
            break;
        case Op::GtI:
            --sp;
            sp[-1].i = sp[-1].i > sp->i;
            break;
        case Op::LeI:
            --sp;
            sp[-1].i = sp[-1].i <= sp->i;
            break;
        case Op::GeI:
            --sp;
            sp[-1].i = sp[-1].i >= sp->i;
            break;
        case Op::EqF:
            --sp;
            sp[-1].i = sp[-1].f == sp->f;
            break;
        case Op::NeF:
            --sp;
            sp[-1].i = sp[-1].f != sp->f;
            break;
        case Op::LtF:
            --sp;
            sp[-1].i = sp[-1].f < sp->f;
            break;
        case Op::GtF:
            --sp;
            sp[-1].i = sp[-1].f > sp->f;
            break;
        case Op::LeF:
            --sp;
            sp[-1].i = sp[-1].f <= sp->f;
            break;
        case Op::GeF:
            --sp;
            sp[-1].i = sp[-1].f >= sp->f;
            break;
        case Op::LNotI:
            sp[-1].i = sp[-1].i == 0;
            break;
        case Op::LNotF:
            sp[-1].i = sp[-1].f == 0.0;
            break;
        case Op::TruthI:
            sp[-1].i = sp[-1].i != 0;
            break;
        case Op::TruthF:
            sp[-1].i = sp[-1].f != 0.0;
            break;
        case Op::Jmp:
            ip = code + in.arg;
            break;
        case Op::I2FJmp:
            sp[-1].f = static_cast<double>(sp[-1].i);
            ip = code + in.arg;
            break;
        case Op::JzI:
            --sp;
            if (sp->i == 0) ip = code + in.arg;
            break;
        case Op::JzF:
            --sp;
            if (sp->f == 0.0) ip = code + in.arg;
            break;
        case Op::AndJI:
            if (sp[-1].i == 0) {
                sp[-1] = in.v;
                ip = code + in.arg;
            } else {
                --sp;
            }
            break;
        case Op::AndJF:
            if (sp[-1].f == 0.0) {
                sp[-1] = in.v;
                ip = code + in.arg;
            } else {
                --sp;
            }
            break;
        case Op::OrJI:
            if (sp[-1].i != 0) {
                sp[-1] = in.v;
                ip = code + in.arg;
            } else {
                --sp;
            }
            break;
        case Op::OrJF:
            if (sp[-1].f != 0.0) { // NaN counts as true, as in C
                sp[-1] = in.v;
                ip = code + in.arg;
            } else {
                --sp;
            }
            break;
        case Op::Atan:
            sp[-1].f = std::atan(sp[-1].f);
            break;
        case Op::Cos:
            sp[-1].f = std::cos(sp[-1].f);
            break;
        case Op::Sin:
            sp[-1].f = std::sin(sp[-1].f);
            break;
        case Op::Tan:
            sp[-1].f = std::tan(sp[-1].f);
            break;
        case Op::Exp:
            sp[-1].f = std::exp(sp[-1].f);
            break;
        case Op::Ln:
            sp[-1].f = std::log(sp[-1].f);
            break;
        case Op::Lg:
            sp[-1].f = std::log10(sp[-1].f);
            break;
        case Op::Sqrt:
            sp[-1].f = std::sqrt(sp[-1].f);
            break;
        case Op::Asin:
            sp[-1].f = std::asin(sp[-1].f);
            break;
        case Op::Acos:
            sp[-1].f = std::acos(sp[-1].f);
            break;
        case Op::TruncF:
            sp[-1].f = std::trunc(sp[-1].f);
            break;
        case Op::FloorF:
            sp[-1].f = std::floor(sp[-1].f);
            break;
        case Op::CeilF:
            sp[-1].f = std::ceil(sp[-1].f);
            break;
        case Op::RoundF:
            sp[-1].f = std::round(sp[-1].f); // halves away from zero
            break;
        case Op::RoundDigitsF:
            --sp;
            sp[-1].f = roundDigits(sp[-1].f, sp->f);
            break;
        }
    }
}

// ---------------------------------------------------------------------------
// Lexer and parser

enum class Tok : uint8_t {
    End,
    Number,
    Ident,
    LParen,
    RParen,
    Comma,
    Question,
    Colon,
    OrOr,
    AndAnd,
    Pipe,
    Caret,
    Amp,
    Eq,
    Ne,
    Lt,
    Gt,
    Le,
    Ge,
    Shl,
    Shr,
    Plus,
    Minus,
    Star,
    Slash,
    Percent,
    Power,
    Tilde,
    Bang,
};

struct Token {
    Tok kind = Tok::End;
    size_t pos = 0;
    size_t len = 0;
    Type numType = Type::Int;
    Value num = intValue(0);
};

// Binary operators, loosest first; 0 means "not a binary operator".
int binaryPrecedence(Tok t) {
    switch (t) {
    case Tok::OrOr:
        return 1;
    case Tok::AndAnd:
        return 2;
    case Tok::Pipe:
        return 3;
    case Tok::Caret:
        return 4;
    case Tok::Amp:
        return 5;
    case Tok::Eq:
    case Tok::Ne:
        return 6;
    case Tok::Lt:
    case Tok::Gt:
    case Tok::Le:
    case Tok::Ge:
        return 7;
    case Tok::Shl:
    case Tok::Shr:
        return 8;
    case Tok::Plus:
    case Tok::Minus:
        return 9;
    case Tok::Star:
    case Tok::Slash:
    case Tok::Percent:
        return 10;
    default:
        return 0;
    }
}

enum class Fn : uint8_t {
    Sgn,
    Neg,
    Atan,
    Cos,
    Sin,
    Tan,
    Abs,
    Exp,
    Ln,
    Lg,
    Sqrt,
    Trunc,
    Round,
    Floor,
    Ceil,
    Asin,
    Acos
};

struct FunctionName {
    std::string_view name;
    Fn fn;
};

constexpr FunctionName kFunctions[] = {
    {"SGN", Fn::Sgn},     {"NEG", Fn::Neg},     {"ATAN", Fn::Atan}, {"COS", Fn::Cos},
    {"SIN", Fn::Sin},     {"TAN", Fn::Tan},     {"ABS", Fn::Abs},   {"EXP", Fn::Exp},
    {"LN", Fn::Ln},       {"LG", Fn::Lg},       {"SQRT", Fn::Sqrt}, {"TRUNC", Fn::Trunc},
    {"ROUND", Fn::Round}, {"FLOOR", Fn::Floor}, {"CEIL", Fn::Ceil}, {"ASIN", Fn::Asin},
    {"ACOS", Fn::Acos},
};

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
bool isAlpha(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
bool isIdentChar(char c) {
    return isAlpha(c) || isDigit(c) || c == '_' || c == '.';
}
bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v';
}
int hexDigit(char c) {
    if (isDigit(c)) return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}
char upper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

// `upperName` is upper case; `word` may be in any case.
bool sameName(std::string_view word, std::string_view upperName) {
    if (word.size() != upperName.size()) return false;
    for (size_t k = 0; k < word.size(); ++k)
        if (upper(word[k]) != upperName[k]) return false;
    return true;
}

const FunctionName* findFunction(std::string_view word) {
    for (const FunctionName& f : kFunctions)
        if (sameName(word, f.name)) return &f;
    return nullptr;
}

class Compiler {
public:
    Compiler(std::string_view text, FormulaMode mode, const FormulaVariables& vars)
        : text_(text), mode_(mode), vars_(vars) {}

    std::vector<Instr> compile(int& stackNeeded) {
        if (text_.size() > kMaxTextLength) syntaxError(0, "the formula is too long");
        advance();
        if (tok_.kind == Tok::End) syntaxError(tok_.pos, "the formula is empty");
        const Type t = settle(parseTernary());
        if (tok_.kind != Tok::End) syntaxError(tok_.pos, "unexpected " + describe(tok_));
        if (t == Type::Float && mode_ == FormulaMode::Integer) emitOp(Op::F2IC, 1);
        emit(Op::End);
        if (maxDepth_ > kMaxStack)
            throw LOGICAL_ERROR_EXCEPTION(
                "Formula '%s' is too deeply nested: it needs more than %d evaluation stack "
                "entries",
                quoteForMessage(text_).c_str(), kMaxStack);
        stackNeeded = maxDepth_;
        return std::move(code_);
    }

private:
    // Counts one nesting level for as long as it lives.
    class NestingGuard {
    public:
        NestingGuard(Compiler& c, size_t pos) : c_(c) {
            if (++c_.nesting_ > kMaxNesting)
                throw LOGICAL_ERROR_EXCEPTION(
                    "Formula '%s' is nested more than %d levels deep at position %zu",
                    quoteForMessage(c_.text_).c_str(), kMaxNesting, pos + 1);
        }
        ~NestingGuard() { --c_.nesting_; }
        NestingGuard(const NestingGuard&) = delete;
        NestingGuard& operator=(const NestingGuard&) = delete;

    private:
        Compiler& c_;
    };

    // Positions in messages count characters from 1.
    [[noreturn]] void syntaxError(size_t pos, const std::string& detail) const {
        throw LOGICAL_ERROR_EXCEPTION("Syntax error in formula '%s' at position %zu: %s",
                                      quoteForMessage(text_).c_str(), pos + 1, detail.c_str());
    }

    std::string describe(const Token& t) const {
        if (t.kind == Tok::End) return "end of formula";
        return "'" + quoteForMessage(text_.substr(t.pos, t.len)) + "'";
    }

    static std::string describeChar(char c) {
        const auto u = static_cast<unsigned char>(c);
        if (u > 0x20 && u < 0x7f) return std::string("character '") + c + "'";
        static const char hex[] = "0123456789ABCDEF";
        return std::string("byte 0x") + hex[u >> 4] + hex[u & 15];
    }

    void expect(Tok kind, const char* what) {
        if (tok_.kind != kind)
            syntaxError(tok_.pos, std::string("expected ") + what + ", found " + describe(tok_));
        advance();
    }

    // --- lexing -----------------------------------------------------------

    void advance() {
        size_t p = pos_;
        while (p < text_.size() && isSpace(text_[p]))
            ++p;
        tok_ = Token{};
        tok_.pos = p;
        if (p == text_.size()) {
            pos_ = p;
            return;
        }
        const char c = text_[p];
        if (isDigit(c) || (c == '.' && p + 1 < text_.size() && isDigit(text_[p + 1]))) {
            lexNumber(p);
            return;
        }
        if (isAlpha(c) || c == '_') {
            size_t q = p + 1;
            while (q < text_.size() && isIdentChar(text_[q]))
                ++q;
            tok_.kind = Tok::Ident;
            tok_.len = q - p;
            pos_ = q;
            return;
        }
        const char next = p + 1 < text_.size() ? text_[p + 1] : '\0';
        size_t len = 1;
        Tok kind = Tok::End;
        switch (c) {
        case '(':
            kind = Tok::LParen;
            break;
        case ')':
            kind = Tok::RParen;
            break;
        case ',':
            kind = Tok::Comma;
            break;
        case '?':
            kind = Tok::Question;
            break;
        case ':':
            kind = Tok::Colon;
            break;
        case '^':
            kind = Tok::Caret;
            break;
        case '=':
            kind = Tok::Eq;
            break;
        case '+':
            kind = Tok::Plus;
            break;
        case '-':
            kind = Tok::Minus;
            break;
        case '/':
            kind = Tok::Slash;
            break;
        case '%':
            kind = Tok::Percent;
            break;
        case '~':
            kind = Tok::Tilde;
            break;
        case '!':
            kind = Tok::Bang;
            break;
        case '|':
            kind = next == '|' ? Tok::OrOr : Tok::Pipe;
            break;
        case '&':
            kind = next == '&' ? Tok::AndAnd : Tok::Amp;
            break;
        case '*':
            kind = next == '*' ? Tok::Power : Tok::Star;
            break;
        case '<':
            kind = next == '>' ? Tok::Ne : next == '<' ? Tok::Shl : next == '=' ? Tok::Le : Tok::Lt;
            break;
        case '>':
            kind = next == '>' ? Tok::Shr : next == '=' ? Tok::Ge : Tok::Gt;
            break;
        default:
            syntaxError(p, "unexpected " + describeChar(c));
        }
        if (kind == Tok::OrOr || kind == Tok::AndAnd || kind == Tok::Power || kind == Tok::Ne ||
            kind == Tok::Shl || kind == Tok::Le || kind == Tok::Shr || kind == Tok::Ge)
            len = 2;
        tok_.kind = kind;
        tok_.len = len;
        pos_ = p + len;
    }

    void lexNumber(size_t p) {
        const std::string_view t = text_;
        size_t q = p;
        tok_.kind = Tok::Number;
        if (t[q] == '0' && q + 1 < t.size() && (t[q + 1] == 'x' || t[q + 1] == 'X')) {
            q += 2;
            const size_t digits = q;
            uint64_t v = 0;
            for (int d; q < t.size() && (d = hexDigit(t[q])) >= 0; ++q) {
                if (v > (std::numeric_limits<uint64_t>::max() >> 4))
                    syntaxError(p, "hexadecimal literal exceeds 64 bits");
                v = (v << 4) | static_cast<uint64_t>(d);
            }
            if (q == digits || (q < t.size() && isIdentChar(t[q])))
                syntaxError(p, "malformed hexadecimal literal");
            // Literals above 0x7FFF... denote the two's complement bit pattern.
            const auto i = static_cast<int64_t>(v);
            setNumber(i, static_cast<double>(i), false);
        } else {
            bool isFloat = false;
            while (q < t.size() && isDigit(t[q]))
                ++q;
            if (q < t.size() && t[q] == '.') {
                isFloat = true;
                ++q;
                while (q < t.size() && isDigit(t[q]))
                    ++q;
            }
            if (q < t.size() && (t[q] == 'e' || t[q] == 'E')) {
                size_t e = q + 1;
                if (e < t.size() && (t[e] == '+' || t[e] == '-')) ++e;
                if (e >= t.size() || !isDigit(t[e])) syntaxError(p, "malformed number");
                isFloat = true;
                q = e;
                while (q < t.size() && isDigit(t[q]))
                    ++q;
            }
            if (q < t.size() && isIdentChar(t[q])) syntaxError(p, "malformed number");
            if (isFloat || mode_ == FormulaMode::Float) {
                double d = 0;
                const auto r = std::from_chars(t.data() + p, t.data() + q, d);
                if (r.ec != std::errc() || r.ptr != t.data() + q)
                    syntaxError(p, "number out of range");
                setNumber(0, d, true);
            } else {
                uint64_t v = 0;
                for (size_t k = p; k < q; ++k) {
                    const auto d = static_cast<uint64_t>(t[k] - '0');
                    if (v > (std::numeric_limits<uint64_t>::max() - d) / 10)
                        syntaxError(p, "integer literal exceeds 64 bits");
                    v = v * 10 + d;
                }
                // Like hexadecimal literals, values above INT64_MAX wrap.
                setNumber(static_cast<int64_t>(v), 0, false);
            }
        }
        tok_.len = q - p;
        pos_ = q;
    }

    void setNumber(int64_t i, double f, bool isFloat) {
        if (mode_ == FormulaMode::Float) {
            tok_.numType = Type::Float;
            tok_.num = floatValue(isFloat ? f : static_cast<double>(i));
        } else if (isFloat) {
            tok_.numType = Type::Float;
            tok_.num = floatValue(f);
        } else {
            tok_.numType = Type::Int;
            tok_.num = intValue(i);
        }
    }

    // --- emission ---------------------------------------------------------

    size_t emit(Op op, int32_t arg = 0, Value v = intValue(0)) {
        code_.push_back(Instr{op, arg, v});
        depth_ += stackEffect(op);
        if (depth_ > maxDepth_) maxDepth_ = depth_;
        return code_.size() - 1;
    }

    // Emits an operator taking `inputs` stack entries and folds it when they
    // are all constants. An operation that would raise is left for run time.
    void emitOp(Op op, int inputs) {
        emit(op);
        const size_t n = code_.size();
        if (op == Op::I2F1 || op == Op::F2IW1) {
            // Converts the left operand in place when both operands are single
            // pushes and the left one is a constant.
            if (n < 3 || n - 3 < barrier_ || code_[n - 3].op != Op::Const) return;
            const Op right = code_[n - 2].op;
            if (right != Op::Const && right != Op::VarI && right != Op::VarF) return;
            Value v;
            if (!foldable({code_[n - 3], Instr{op == Op::I2F1 ? Op::I2F : Op::F2IW, 0, {}}}, v))
                return;
            code_[n - 3].v = v;
            code_.pop_back();
            return;
        }
        const auto first = static_cast<ptrdiff_t>(n) - 1 - inputs;
        if (first < static_cast<ptrdiff_t>(barrier_)) return;
        for (size_t k = static_cast<size_t>(first); k + 1 < n; ++k)
            if (code_[k].op != Op::Const) return;
        Value v;
        if (!foldable(std::vector<Instr>(code_.begin() + first, code_.end()), v)) return;
        code_.resize(static_cast<size_t>(first));
        code_.push_back(Instr{Op::Const, 0, v});
    }

    static bool foldable(std::vector<Instr> code, Value& result) {
        code.push_back(Instr{Op::End, 0, {}});
        try {
            result = execute<kSmallStack>(code.data(), nullptr, std::string());
            return true;
        } catch (const GenICam::GenericException&) {
            return false;
        }
    }

    // Code before the barrier is a jump target or precedes one; folding must
    // not reach across it.
    void placeLabel(size_t jump) {
        code_[jump].arg = static_cast<int32_t>(code_.size());
        barrier_ = code_.size();
    }

    Type settle(Type t) {
        // In Float mode every value is a double.
        if (t == Type::Int && mode_ == FormulaMode::Float) {
            emitOp(Op::I2F, 1);
            return Type::Float;
        }
        return t;
    }

    Type toFloat(Type t) {
        if (t == Type::Int) emitOp(Op::I2F, 1);
        return Type::Float;
    }

    void bothFloat(Type l, Type r) {
        if (l == Type::Int) emitOp(Op::I2F1, 2);
        if (r == Type::Int) emitOp(Op::I2F, 1);
    }

    void bothInt(Type l, Type r) {
        if (l == Type::Float) emitOp(Op::F2IW1, 2);
        if (r == Type::Float) emitOp(Op::F2IW, 1);
    }

    Type emitBinary(Tok op, Type l, Type r) {
        const bool ints = l == Type::Int && r == Type::Int;
        auto arith = [&](Op intOp, Op floatOp) {
            if (ints) {
                emitOp(intOp, 2);
                return Type::Int;
            }
            bothFloat(l, r);
            emitOp(floatOp, 2);
            return Type::Float;
        };
        auto integer = [&](Op intOp) {
            bothInt(l, r);
            emitOp(intOp, 2);
            return settle(Type::Int);
        };
        auto compare = [&](Op intOp, Op floatOp) {
            if (ints) {
                emitOp(intOp, 2);
            } else {
                bothFloat(l, r);
                emitOp(floatOp, 2);
            }
            return settle(Type::Int);
        };
        switch (op) {
        case Tok::Plus:
            return arith(Op::AddI, Op::AddF);
        case Tok::Minus:
            return arith(Op::SubI, Op::SubF);
        case Tok::Star:
            return arith(Op::MulI, Op::MulF);
        case Tok::Slash:
            return arith(Op::DivI, Op::DivF);
        case Tok::Power:
            return arith(Op::PowI, Op::PowF);
        case Tok::Percent:
            return integer(Op::ModI);
        case Tok::Amp:
            return integer(Op::BitAnd);
        case Tok::Pipe:
            return integer(Op::BitOr);
        case Tok::Caret:
            return integer(Op::BitXor);
        case Tok::Shl:
            return integer(Op::Shl);
        case Tok::Shr:
            return integer(Op::Shr);
        case Tok::Eq:
            return compare(Op::EqI, Op::EqF);
        case Tok::Ne:
            return compare(Op::NeI, Op::NeF);
        case Tok::Lt:
            return compare(Op::LtI, Op::LtF);
        case Tok::Gt:
            return compare(Op::GtI, Op::GtF);
        case Tok::Le:
            return compare(Op::LeI, Op::LeF);
        case Tok::Ge:
            return compare(Op::GeI, Op::GeF);
        default:
            break;
        }
        syntaxError(0, "internal error: unknown binary operator");
    }

    // --- grammar ----------------------------------------------------------

    // ternary := binary [ '?' ternary ':' ternary ]
    Type parseTernary() {
        const Type cond = parseBinary(1);
        if (tok_.kind != Tok::Question) return cond;
        NestingGuard guard(*this, tok_.pos);
        advance();
        const size_t jz = emit(cond == Type::Int ? Op::JzI : Op::JzF);
        const Type a = parseTernary();
        expect(Tok::Colon, "':'");
        const size_t jmp = emit(Op::Jmp);
        --depth_; // the else branch starts without the then branch's value
        placeLabel(jz);
        const Type b = parseTernary();
        const Type result = a == b ? a : Type::Float;
        if (b != result) emitOp(Op::I2F, 1);
        if (a != result) code_[jmp].op = Op::I2FJmp;
        placeLabel(jmp);
        return result;
    }

    // Precedence climbing over the binary operators; all are left-associative.
    Type parseBinary(int minPrecedence) {
        Type lhs = parseUnary();
        for (;;) {
            const Tok op = tok_.kind;
            const int prec = binaryPrecedence(op);
            if (prec == 0 || prec < minPrecedence) return lhs;
            advance();
            if (op == Tok::AndAnd || op == Tok::OrOr) {
                const bool isFloat = mode_ == FormulaMode::Float;
                // The value left behind when the right operand is skipped, in
                // the result type.
                const int64_t skipped = op == Tok::AndAnd ? 0 : 1;
                const Value shortcut =
                    isFloat ? floatValue(static_cast<double>(skipped)) : intValue(skipped);
                const Op jumpOp = op == Tok::AndAnd ? (lhs == Type::Int ? Op::AndJI : Op::AndJF)
                                                    : (lhs == Type::Int ? Op::OrJI : Op::OrJF);
                const size_t jump = emit(jumpOp, 0, shortcut);
                const Type rhs = parseBinary(prec + 1);
                emitOp(rhs == Type::Int ? Op::TruthI : Op::TruthF, 1);
                lhs = settle(Type::Int);
                placeLabel(jump);
            } else {
                const Type rhs = parseBinary(prec + 1);
                lhs = emitBinary(op, lhs, rhs);
            }
        }
    }

    // unary := ( '-' | '+' | '~' | '!' ) unary | power
    Type parseUnary() {
        const Tok op = tok_.kind;
        if (op != Tok::Minus && op != Tok::Plus && op != Tok::Tilde && op != Tok::Bang)
            return parsePower();
        NestingGuard guard(*this, tok_.pos);
        advance();
        const Type t = parseUnary();
        switch (op) {
        case Tok::Minus:
            emitOp(t == Type::Int ? Op::NegI : Op::NegF, 1);
            return t;
        case Tok::Tilde:
            if (t == Type::Float) emitOp(Op::F2IW, 1);
            emitOp(Op::BitNot, 1);
            return settle(Type::Int);
        case Tok::Bang:
            emitOp(t == Type::Int ? Op::LNotI : Op::LNotF, 1);
            return settle(Type::Int);
        default:
            return t;
        }
    }

    // power := primary [ '**' unary ]   (right-associative, tighter than unary)
    Type parsePower() {
        const Type base = parsePrimary();
        if (tok_.kind != Tok::Power) return base;
        NestingGuard guard(*this, tok_.pos);
        advance();
        const Type exponent = parseUnary();
        return emitBinary(Tok::Power, base, exponent);
    }

    Type parsePrimary() {
        switch (tok_.kind) {
        case Tok::Number: {
            const Token t = tok_;
            emit(Op::Const, 0, t.num);
            advance();
            return t.numType;
        }
        case Tok::LParen: {
            NestingGuard guard(*this, tok_.pos);
            advance();
            const Type t = parseTernary();
            expect(Tok::RParen, "')'");
            return t;
        }
        case Tok::Ident:
            return parseIdentifier();
        case Tok::End:
            syntaxError(tok_.pos, "the formula ends where an operand is expected");
        default:
            syntaxError(tok_.pos, "expected an operand, found " + describe(tok_));
        }
    }

    Type parseIdentifier() {
        const Token name = tok_;
        const std::string_view word = text_.substr(name.pos, name.len);
        advance();
        if (tok_.kind == Tok::LParen) {
            if (const FunctionName* f = findFunction(word)) return parseCall(*f);
        }
        const int slot = vars_.resolve(word);
        if (slot >= 0) {
            emit(mode_ == FormulaMode::Float ? Op::VarF : Op::VarI, slot);
            return mode_ == FormulaMode::Float ? Type::Float : Type::Int;
        }
        // Variables take precedence over the named constants.
        if (sameName(word, "PI")) {
            emit(Op::Const, 0, floatValue(std::numbers::pi));
            return Type::Float;
        }
        if (sameName(word, "E")) {
            emit(Op::Const, 0, floatValue(std::numbers::e));
            return Type::Float;
        }
        throw LOGICAL_ERROR_EXCEPTION("Unknown identifier '%s' in formula '%s' at position %zu",
                                      quoteForMessage(word).c_str(), quoteForMessage(text_).c_str(),
                                      name.pos + 1);
    }

    // call := NAME '(' ternary [ ',' ternary ] ')'   (the second argument for ROUND only)
    Type parseCall(const FunctionName& f) {
        NestingGuard guard(*this, tok_.pos);
        advance();
        Type arg = parseTernary();
        if (f.fn == Fn::Round && tok_.kind == Tok::Comma) {
            toFloat(arg);
            advance();
            toFloat(parseTernary());
            if (tok_.kind == Tok::Comma) syntaxError(tok_.pos, "ROUND takes at most two arguments");
            expect(Tok::RParen, "')'");
            emitOp(Op::RoundDigitsF, 2);
            return Type::Float;
        }
        if (tok_.kind == Tok::Comma)
            syntaxError(tok_.pos, std::string(f.name) + " takes one argument");
        expect(Tok::RParen, "')'");
        return emitFunction(f.fn, arg);
    }

    Type emitFunction(Fn fn, Type t) {
        auto transcendental = [&](Op op) {
            toFloat(t);
            emitOp(op, 1);
            return Type::Float;
        };
        auto integral = [&](Op floatOp) {
            if (t == Type::Int) return Type::Int; // already whole
            if (mode_ == FormulaMode::Float) {
                emitOp(floatOp, 1);
                return Type::Float;
            }
            if (floatOp != Op::TruncF) emitOp(floatOp, 1);
            emitOp(Op::F2IC, 1); // truncates
            return Type::Int;
        };
        switch (fn) {
        case Fn::Sgn:
            emitOp(t == Type::Int ? Op::SgnI : Op::SgnF, 1);
            return settle(Type::Int);
        case Fn::Neg:
            emitOp(t == Type::Int ? Op::NegI : Op::NegF, 1);
            return t;
        case Fn::Abs:
            emitOp(t == Type::Int ? Op::AbsI : Op::AbsF, 1);
            return t;
        case Fn::Atan:
            return transcendental(Op::Atan);
        case Fn::Cos:
            return transcendental(Op::Cos);
        case Fn::Sin:
            return transcendental(Op::Sin);
        case Fn::Tan:
            return transcendental(Op::Tan);
        case Fn::Exp:
            return transcendental(Op::Exp);
        case Fn::Ln:
            return transcendental(Op::Ln);
        case Fn::Lg:
            return transcendental(Op::Lg);
        case Fn::Sqrt:
            return transcendental(Op::Sqrt);
        case Fn::Asin:
            return transcendental(Op::Asin);
        case Fn::Acos:
            return transcendental(Op::Acos);
        case Fn::Trunc:
            return integral(Op::TruncF);
        case Fn::Floor:
            return integral(Op::FloorF);
        case Fn::Ceil:
            return integral(Op::CeilF);
        case Fn::Round:
            return integral(Op::RoundF);
        }
        return t;
    }

    std::string_view text_;
    FormulaMode mode_;
    const FormulaVariables& vars_;
    size_t pos_ = 0; // where the next token starts looking
    Token tok_;      // the current token
    int nesting_ = 0;
    std::vector<Instr> code_;
    int depth_ = 0; // evaluation stack depth at the end of code_
    int maxDepth_ = 0;
    size_t barrier_ = 0;
};

} // namespace

struct Formula::Program {
    std::string text;
    FormulaMode mode = FormulaMode::Integer;
    int stackNeeded = 0;
    std::vector<Instr> code;

    Value run(FormulaVariables& vars) const {
        return stackNeeded <= kSmallStack ? execute<kSmallStack>(code.data(), &vars, text)
                                          : execute<kMaxStack>(code.data(), &vars, text);
    }
    Value runExact(FormulaVariables& vars, bool& wrapped) const {
        return stackNeeded <= kSmallStack
                   ? execute<kSmallStack, true>(code.data(), &vars, text, &wrapped)
                   : execute<kMaxStack, true>(code.data(), &vars, text, &wrapped);
    }
};

Formula Formula::compile(std::string_view text, FormulaMode mode, const FormulaVariables& vars) {
    auto program = std::make_unique<Program>();
    program->text = std::string(text);
    program->mode = mode;
    program->code = Compiler(text, mode, vars).compile(program->stackNeeded);
    Formula f;
    f.program_ = std::move(program);
    return f;
}

Formula::Formula() = default;
Formula::~Formula() = default;
Formula::Formula(Formula&&) noexcept = default;
Formula& Formula::operator=(Formula&&) noexcept = default;

int64_t Formula::evaluateInt(FormulaVariables& vars) const {
    if (!program_) throw LOGICAL_ERROR_EXCEPTION("An empty formula cannot be evaluated");
    const Value v = program_->run(vars);
    if (program_->mode == FormulaMode::Integer) return v.i;
    int64_t r = 0;
    if (!checkedToInt(v.f, r)) raiseConversion(program_->text, v.f);
    return r;
}

std::optional<int64_t> Formula::evaluateIntExact(FormulaVariables& vars) const {
    if (!program_) throw LOGICAL_ERROR_EXCEPTION("An empty formula cannot be evaluated");
    bool wrapped = false;
    const Value v = program_->runExact(vars, wrapped);
    int64_t r = v.i;
    if (program_->mode == FormulaMode::Float && !checkedToInt(v.f, r)) return std::nullopt;
    if (wrapped) return std::nullopt;
    return r;
}

double Formula::evaluateFloat(FormulaVariables& vars) const {
    if (!program_) throw LOGICAL_ERROR_EXCEPTION("An empty formula cannot be evaluated");
    const Value v = program_->run(vars);
    return program_->mode == FormulaMode::Integer ? static_cast<double>(v.i) : v.f;
}

const std::string& Formula::text() const {
    static const std::string none;
    return program_ ? program_->text : none;
}

bool Formula::empty() const {
    return !program_;
}

} // namespace GenApi::detail
