// How each imaging-library object kind carries a control type through the
// transport port: as a string, as a 64-bit value with its own control
// operation (class 2), pre-set to the default marker (class 3) or to zero
// (class 4), or through the proxy's own access (special).
#pragma once

#include <cstdint>

#include "qorvis.h"

class BaseTLProxy {
public:
    virtual ~BaseTLProxy() = default;
    virtual bool IsString(int64_t type) const { return (void)type, false; }
    virtual bool IsClass2(int64_t type) const { return (void)type, false; }
    virtual bool IsClass3(int64_t type) const { return (void)type, false; }
    virtual bool IsClass4(int64_t type) const { return (void)type, false; }
    virtual bool IsSpecial(int64_t type) const { return (void)type, false; }
    virtual int64_t ReadSpecial(QOR_ID object, int64_t type) const { return (void)object, (void)type, -1; }
    virtual int64_t WriteSpecial(QOR_ID object, int64_t type, int64_t value1, int64_t value2, int64_t reserved) {
        (void)object, (void)type, (void)value1, (void)value2, (void)reserved;
        return stored_ == 0 ? -1 : stored_;
    }

    // The library operations of the proxy's object kind.
    virtual QOR_INT Inquire(QOR_ID object, QOR_INT64 type, void* value) const = 0;
    virtual void Control(QOR_ID object, QOR_INT64 type, QOR_DOUBLE value) const = 0;
    virtual void ControlInt64(QOR_ID object, QOR_INT64 type, QOR_INT64 value) const = 0;

protected:
    int64_t stored_ = 0;
};

class QdigTLProxy final : public BaseTLProxy {
public:
    bool IsString(int64_t type) const override;
    bool IsClass2(int64_t type) const override;
    bool IsClass3(int64_t type) const override;
    bool IsClass4(int64_t type) const override;
    QOR_INT Inquire(QOR_ID object, QOR_INT64 type, void* value) const override;
    void Control(QOR_ID object, QOR_INT64 type, QOR_DOUBLE value) const override;
    void ControlInt64(QOR_ID object, QOR_INT64 type, QOR_INT64 value) const override;
};

class QsysTLProxy final : public BaseTLProxy {
public:
    bool IsString(int64_t type) const override;
    bool IsClass2(int64_t type) const override;
    bool IsClass3(int64_t type) const override;
    bool IsClass4(int64_t type) const override;
    bool IsSpecial(int64_t) const override { return false; }
    QOR_INT Inquire(QOR_ID object, QOR_INT64 type, void* value) const override;
    void Control(QOR_ID object, QOR_INT64 type, QOR_DOUBLE value) const override;
    void ControlInt64(QOR_ID object, QOR_INT64 type, QOR_INT64 value) const override;
};

class QseqTLProxy final : public BaseTLProxy {
public:
    bool IsString(int64_t type) const override;
    bool IsClass2(int64_t type) const override;
    bool IsClass3(int64_t type) const override;
    QOR_INT Inquire(QOR_ID object, QOR_INT64 type, void* value) const override;
    void Control(QOR_ID object, QOR_INT64 type, QOR_DOUBLE value) const override;
    void ControlInt64(QOR_ID object, QOR_INT64 type, QOR_INT64 value) const override;
};
