// The classification of control types by object kind, at the edges of every
// range and with the flag bits each test ignores.
#include <gtest/gtest.h>

#include "tl_proxies.h"

namespace {

enum Class { kString, kClass2, kClass3, kClass4, kNone };

Class classify(const BaseTLProxy& p, int64_t t) {
    if (p.IsString(t)) return kString;
    if (p.IsClass2(t)) return kClass2;
    if (p.IsClass3(t)) return kClass3;
    if (p.IsClass4(t)) return kClass4;
    return kNone;
}

struct Case {
    int64_t type;
    Class expected;
};

void expectClasses(const BaseTLProxy& proxy, std::initializer_list<Case> cases) {
    for (const Case& c : cases) EXPECT_EQ(classify(proxy, c.type), c.expected) << "type 0x" << std::hex << c.type;
}

} // namespace

TEST(TransportProxies, DigitizerClasses) {
    QdigTLProxy dig;
    expectClasses(dig, {
        {7699, kNone}, {7700, kString}, {7999, kString}, {8000, kNone},
        {7700 | 0x1000000000000, kString}, {7700 | 0x100000000, kString}, {7700 | 0x400000000, kNone},
        {5999, kNone}, {6000, kClass2}, {6699, kClass2}, {6700, kClass3}, {6799, kClass3}, {6800, kNone},
        {133071, kNone}, {133072, kClass2}, {134072, kClass2}, {134073, kNone},
        {0x3a000, kClass2}, {260096, kClass2}, {260097, kNone},
        {6650 | 0x30000, kClass2}, {6651 | 0x40000000000, kClass2},
        {0x1a10 | 0x10000, kClass2}, {0x1a10 | 0x20000, kNone},
        {0x400000, kClass2}, {0x400000 | 0x10000000000, kClass2},
        {0x10081000, kClass3}, {0x10081100, kClass3}, {2953315072, kClass3}, {0xfa0 | 0x3000, kClass3},
        {1099, kNone}, {1100, kClass4}, {1199, kClass4}, {1200, kNone}, {1049, kClass4}, {5328, kClass4},
        {1100 | 0x100000000, kClass4}, {1100 | 0x400000000, kNone},
    });
    EXPECT_FALSE(dig.IsSpecial(1));
}

TEST(TransportProxies, SystemClasses) {
    QsysTLProxy sys;
    expectClasses(sys, {
        {7700, kString}, {7799, kString}, {7800, kNone}, {7700 | 0x10000, kString},
        {33000, kString}, {36000, kString}, {36001, kNone}, {10312, kString}, {10371, kString}, {10372, kNone},
        {16800, kString}, {22399, kString}, {0x1000000000, kString}, {0x1000000000 | 0x1000000000000, kString},
        {7300, kClass2}, {7399, kClass2}, {7300 | 0x20000, kClass2}, {6647, kClass2}, {5136, kClass2},
        {133072, kClass2}, {134073, kNone},
        {6700, kClass3}, {6800, kNone}, {0x10081500, kClass3}, {0x10081100, kNone}, {2953314304, kClass3},
        {1100, kClass4}, {1049, kClass4}, {1100 | 0x100000000, kNone}, {5328, kNone},
    });
    EXPECT_FALSE(sys.IsSpecial(6700));
}

TEST(TransportProxies, SequenceClasses) {
    QseqTLProxy seq;
    expectClasses(seq, {
        {0xf40, kString}, {0xf40 | 0x1000000000000, kString}, {0xf41, kNone},
        {6607, kClass2}, {3712, kClass2}, {6607 | 0x1000000, kClass2}, {0xe80 | 0x10000000000, kClass2},
        {3713, kNone}, {6607 | 0x2000000, kNone},
        {6700, kClass3}, {6799, kClass3}, {6800, kNone}, {1100, kNone}, {7700, kNone},
    });
}

TEST(TransportProxies, BaseSpecialAccess) {
    QseqTLProxy seq;
    EXPECT_EQ(seq.ReadSpecial(1, 5), -1);
    EXPECT_EQ(seq.WriteSpecial(1, 5, 7, 8, 0), -1) << "nothing stored yet";
}
