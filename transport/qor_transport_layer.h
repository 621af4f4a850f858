// A GenApi port over an imaging-library object: the register address is the
// object's control type, a read is its inquire and a write its control
// operation. Library failures become GenICam::AccessException with the
// library's own error text; the library's error display is off meanwhile.
#pragma once

#include <cstdint>
#include <string>

#include "GenApi/Interfaces.h"
#include "qorvis.h"
#include "tl_proxies.h"

// Address flags above the control type.
constexpr int64_t kAvailabilityProbeBit = int64_t{1} << 46; // 1 when the type reads without error
constexpr int64_t kGenericInquireBit = int64_t{1} << 47;    // the object's generic object inquire

class CQorTransportLayerBase : public GenApi::IPort {
public:
    explicit CQorTransportLayerBase(QOR_ID object) : object_(object) {}
    ~CQorTransportLayerBase() override = default;

    GenApi::EAccessMode GetAccessMode() const override { return GenApi::RW; }
    void Read(void* buffer, int64_t address, int64_t length) override;
    void Write(const void* buffer, int64_t address, int64_t length) override;

    virtual QOR_ID FirstFurtherId() const { return further1_; }
    virtual QOR_ID SecondFurtherId() const { return further2_; }
    virtual QOR_ID ObjectId() const { return object_; }
    virtual int64_t ForwardToProxy(int64_t address, int64_t value1, int64_t value2);
    // The description file of this object: prefix, board-type token, ".xml";
    // empty when the owner system's board type is unknown.
    virtual std::string DescriptionFileName() const;
    // "Error in <function>: <sub-messages>" when the library has an error pending.
    virtual bool GetLastErrorText(std::string& text) const;
    virtual bool IsErrorPending() const;
    virtual void ClearError();

    // Set by node-map loading for a non-zero object.
    void SetFurtherIds(QOR_ID first, QOR_ID second) {
        further1_ = first;
        further2_ = second;
    }

protected:
    virtual BaseTLProxy& TLProxy() = 0;
    virtual const BaseTLProxy& TLProxy() const = 0;
    // The object kind's description-file prefix ("QdigControl_" ...).
    virtual std::string FilePrefix() const = 0;
    // False for a sequence whose description is the generic one (no token).
    virtual bool BoardSpecific() const { return true; }

private:
    void ReadValue(void* buffer, int64_t address, int64_t length);
    void WriteValue(const void* buffer, int64_t address, int64_t length);
    [[noreturn]] void ThrowPending(int line) const;

    QOR_ID object_;
    QOR_ID further1_ = 0;
    QOR_ID further2_ = 0;
};

template <class ProxyType>
class CQorTransportLayer final : public CQorTransportLayerBase {
public:
    using CQorTransportLayerBase::CQorTransportLayerBase;

protected:
    BaseTLProxy& TLProxy() override { return proxy_; }
    const BaseTLProxy& TLProxy() const override { return proxy_; }
    std::string FilePrefix() const override;
    bool BoardSpecific() const override;

private:
    ProxyType proxy_;
};

// The board-type token of a system's type number (and sub-type, where one
// type number covers two boards); empty when unknown.
std::string BoardTypeToken(int64_t systemType, int64_t systemSubtype);
