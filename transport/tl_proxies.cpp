#include "tl_proxies.h"

#include <initializer_list>

namespace {
// The type with the bits of `mask` cleared.
constexpr int64_t cleared(int64_t type, int64_t mask) { return type & ~mask; }
constexpr bool within(int64_t v, int64_t lower, int64_t upper) { return v >= lower && v < upper; }
} // namespace

// ---------------------------------------------------------------- digitizer

bool QdigTLProxy::IsString(int64_t t) const { return within(cleared(t, 0x1000300000000), 7700, 8000); }

bool QdigTLProxy::IsClass2(int64_t t) const {
    int64_t a = cleared(t, 0xf0300000000);
    if (within(a, 6000, 6700) || within(a, 133072, 134073) || within(a, 0x3a000, 260097)) return true;
    int64_t b = cleared(t, 0xf036fc30000);
    if (b == 6650 || b == 6651) return true;
    if (cleared(t, 0xf0300090000) == 0x1a10) return true;
    return a == 0x400000;
}

bool QdigTLProxy::IsClass3(int64_t t) const {
    int64_t a = cleared(t, 0xf0300000000);
    if (within(a, 6700, 6800)) return true;
    for (int64_t v : {int64_t{0x10081000}, int64_t{0x10081500}, int64_t{0x10081100}, int64_t{0x10080000},
                      int64_t{2953314304}, int64_t{2953314560}, int64_t{2953315072}})
        if (a == v) return true;
    return cleared(t, 0xf0300003000) == 0xfa0;
}

bool QdigTLProxy::IsClass4(int64_t t) const {
    int64_t a = cleared(t, 0x300000000);
    return within(a, 1100, 1200) || a == 1049 || a == 5328;
}

QOR_INT QdigTLProxy::Inquire(QOR_ID object, QOR_INT64 type, void* value) const {
    return QdigInquire(object, type, value);
}
void QdigTLProxy::Control(QOR_ID object, QOR_INT64 type, QOR_DOUBLE value) const { QdigControl(object, type, value); }
void QdigTLProxy::ControlInt64(QOR_ID object, QOR_INT64 type, QOR_INT64 value) const {
    QdigControlInt64(object, type, value);
}

// ---------------------------------------------------------------- system

bool QsysTLProxy::IsString(int64_t t) const {
    if (within(cleared(t, 0x1000000ff0000), 7700, 7800)) return true;
    int64_t a = cleared(t, 0x1000000000000);
    return within(a, 33000, 36001) || within(a, 10312, 10372) || within(a, 16800, 17000) ||
           within(a, 22000, 22400) || a == 0x1000000000;
}

bool QsysTLProxy::IsClass2(int64_t t) const {
    int64_t a = cleared(t, 0xf0300ff0000);
    if (within(a, 7300, 7400) || a == 6647) return true;
    int64_t b = cleared(t, 0xf0000000000);
    return within(b, 133072, 134073) || b == 5136;
}

bool QsysTLProxy::IsClass3(int64_t t) const {
    int64_t a = cleared(t, 0xf0000000000);
    return within(a, 6700, 6800) || a == 0x10081000 || a == 0x10081500 || a == 0x10080000 || a == 2953314304;
}

bool QsysTLProxy::IsClass4(int64_t t) const { return within(t, 1100, 1200) || t == 1049; }

QOR_INT QsysTLProxy::Inquire(QOR_ID object, QOR_INT64 type, void* value) const {
    return QsysInquire(object, type, value);
}
void QsysTLProxy::Control(QOR_ID object, QOR_INT64 type, QOR_DOUBLE value) const { QsysControl(object, type, value); }
void QsysTLProxy::ControlInt64(QOR_ID object, QOR_INT64 type, QOR_INT64 value) const {
    QsysControlInt64(object, type, value);
}

// ---------------------------------------------------------------- sequence

bool QseqTLProxy::IsString(int64_t t) const { return cleared(t, 0x1000000000000) == 0xf40; }

bool QseqTLProxy::IsClass2(int64_t t) const {
    int64_t a = cleared(t, 0xf0001000000);
    return a == 6607 || a == 3712 || cleared(t, 0xf0000000000) == 0xe80;
}

bool QseqTLProxy::IsClass3(int64_t t) const { return within(cleared(t, 0xf0000000000), 6700, 6800); }

QOR_INT QseqTLProxy::Inquire(QOR_ID object, QOR_INT64 type, void* value) const {
    return QseqInquire(object, type, value);
}
void QseqTLProxy::Control(QOR_ID object, QOR_INT64 type, QOR_DOUBLE value) const { QseqControl(object, type, value); }
void QseqTLProxy::ControlInt64(QOR_ID object, QOR_INT64 type, QOR_INT64 value) const {
    QseqControlInt64(object, type, value);
}
