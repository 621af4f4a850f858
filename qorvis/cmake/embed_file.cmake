# Writes a C++ source that holds the bytes of a file, so that the library
# carries it instead of reading it at run time. Run with cmake -P:
#   -DINPUT=<file> -DOUTPUT=<source> -DNAMESPACE=<ns> -DSYMBOL=<name>
# The source defines `const unsigned char SYMBOL[]` (the bytes and a closing
# zero) and `const std::size_t SYMBOLSize` (the byte count without the zero).
file(READ "${INPUT}" hex HEX)
string(LENGTH "${hex}" digits)
math(EXPR size "${digits} / 2")
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
# 24 bytes a line (CMake regular expressions have no repetition counts).
string(REPEAT "0x[0-9a-f][0-9a-f]," 24 row)
string(REGEX REPLACE "(${row})" "\\1\n" bytes "${bytes}")
get_filename_component(name "${INPUT}" NAME)
file(WRITE "${OUTPUT}"
"// Generated from ${name} at build time; do not edit.
#include <cstddef>

namespace ${NAMESPACE} {
extern const unsigned char ${SYMBOL}[];
extern const std::size_t ${SYMBOL}Size;
const unsigned char ${SYMBOL}[] = {
${bytes}0x00};
const std::size_t ${SYMBOL}Size = ${size};
} // namespace ${NAMESPACE}
")
