#include "qor_transport_layer.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "GenICam/exceptions.h"

namespace {

// The library's error display is switched off around every device access and
// put back exactly as it was on every way out.
class QuietErrors {
public:
    QuietErrors() {
        QappInquire(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, &print_);
        QappInquire(Q_DEFAULT_APPLICATION, Q_ERROR_EXCEPTION, &exception_);
        // Saving the context also leaves no error pending: only this
        // access's failures count.
        context_ = QappErrorContextSave();
        QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, Q_PRINT_DISABLE);
        QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_EXCEPTION, -9999);
    }
    ~QuietErrors() {
        QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, print_);
        QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_EXCEPTION, exception_);
        QappErrorContextRestore(context_);
    }
    QuietErrors(const QuietErrors&) = delete;
    QuietErrors& operator=(const QuietErrors&) = delete;

private:
    QOR_INT print_ = Q_PRINT_ENABLE;
    QOR_INT exception_ = 0;
    QOR_ID context_ = 0;
};

constexpr const char* kSourceFile = "GenICamQorTransportLayer";

// Every numeric value travels as 8 bytes; a register shorter than that gets
// (and gives) only its own low bytes, so the caller's buffer is never overrun.
size_t valueBytes(int64_t length) {
    return static_cast<size_t>(std::clamp<int64_t>(length, 0, 8));
}

void store64(void* buffer, int64_t value, int64_t length) {
    std::memcpy(buffer, &value, valueBytes(length));
}

int64_t load64(const void* buffer, int64_t length) {
    int64_t value = 0;
    std::memcpy(&value, buffer, valueBytes(length));
    return value;
}

QOR_INT errorMode() {
    QOR_INT mode = 0;
    QappInquire(Q_DEFAULT_APPLICATION, Q_ERROR_MODE, &mode);
    return mode;
}

} // namespace

void CQorTransportLayerBase::Read(void* buffer, int64_t address, int64_t length) {
    QuietErrors quiet;
    if (length == 0) return;
    if (address & kGenericInquireBit) {
        QOR_INT64 value = 0;
        QobjInquire(object_, Q_OBJECT_GENERIC, &value);
        store64(buffer, value, length);
        if (IsErrorPending()) ThrowPending(__LINE__);
        return;
    }
    if (address & kAvailabilityProbeBit) {
        int64_t type = address & ~kAvailabilityProbeBit;
        int64_t available = 0;
        if (TLProxy().IsString(type)) {
            QOR_INT64 size = 0;
            TLProxy().Inquire(object_, type + Q_STRING_SIZE, &size);
            available = !IsErrorPending() && size != 0;
        } else {
            QOR_INT64 scratch = TLProxy().IsClass4(type) ? 0 : Q_DEFAULT;
            TLProxy().Inquire(object_, type, &scratch);
            available = IsErrorPending() ? 0 : 1;
        }
        store64(buffer, available, length);
        // A probe never throws: its failure is its answer.
        ClearError();
        return;
    }
    ReadValue(buffer, address, length);
}

void CQorTransportLayerBase::ReadValue(void* buffer, int64_t type, int64_t length) {
    BaseTLProxy& proxy = TLProxy();
    if (proxy.IsString(type)) {
        QOR_INT64 size = 0;
        proxy.Inquire(object_, type + Q_STRING_SIZE, &size);
        if (!IsErrorPending() && size > 0) {
            std::vector<QOR_TEXT_CHAR> text(static_cast<size_t>(size) + 1, 0);
            proxy.Inquire(object_, type, text.data());
            // Bounded copy, terminator included when it fits.
            size_t n = std::min(std::strlen(text.data()) + 1, static_cast<size_t>(length));
            std::memcpy(buffer, text.data(), n);
        } else if (!IsErrorPending()) {
            static_cast<char*>(buffer)[0] = 0;
        }
    } else {
        QOR_INT64 value = Q_DEFAULT;
        if (proxy.IsClass2(type)) {
            value = 0;
            proxy.Inquire(object_, type, &value);
        } else if (proxy.IsClass3(type)) {
            value = Q_DEFAULT;
            proxy.Inquire(object_, type, &value);
        } else if (proxy.IsClass4(type)) {
            value = 0;
            proxy.Inquire(object_, type, &value);
        } else if (proxy.IsSpecial(type)) {
            value = proxy.ReadSpecial(object_, type);
        } else {
            proxy.Inquire(object_, type, &value);
        }
        store64(buffer, value, length);
    }
    if (IsErrorPending()) ThrowPending(__LINE__);
}

void CQorTransportLayerBase::Write(const void* buffer, int64_t address, int64_t length) {
    QuietErrors quiet;
    if (length == 0) return;
    WriteValue(buffer, address, length);
}

void CQorTransportLayerBase::WriteValue(const void* buffer, int64_t type, int64_t length) {
    BaseTLProxy& proxy = TLProxy();
    if (proxy.IsString(type)) {
        std::string text(static_cast<const char*>(buffer), static_cast<size_t>(length));
        text.resize(std::strlen(text.c_str()));
        proxy.Control(object_, type, Q_PTR_TO_DOUBLE(text.c_str()));
    } else {
        int64_t value = load64(buffer, length);
        if (proxy.IsClass2(type)) proxy.ControlInt64(object_, type, value);
        else if (proxy.IsClass3(type) || proxy.IsClass4(type)) proxy.Control(object_, type, static_cast<QOR_DOUBLE>(value));
        else if (proxy.IsSpecial(type)) proxy.WriteSpecial(object_, type, value, 0, 0);
        else proxy.Control(object_, type, static_cast<QOR_DOUBLE>(value));
    }
    if (IsErrorPending()) ThrowPending(__LINE__);
}

void CQorTransportLayerBase::ThrowPending(int line) const {
    std::string text;
    GetLastErrorText(text);
    throw GenICam::AccessException(text.c_str(), kSourceFile, static_cast<unsigned>(line));
}

int64_t CQorTransportLayerBase::ForwardToProxy(int64_t address, int64_t value1, int64_t value2) {
    return TLProxy().WriteSpecial(object_, address, value1, value2, 0);
}

bool CQorTransportLayerBase::IsErrorPending() const {
    return QappGetError(Q_DEFAULT_APPLICATION, errorMode() < 1 ? Q_CURRENT : Q_GLOBAL, nullptr) != 0;
}

bool CQorTransportLayerBase::GetLastErrorText(std::string& text) const {
    if (!IsErrorPending()) return false;
    char function[256] = {};
    QappGetError(Q_DEFAULT_APPLICATION, Q_CURRENT_FCT + Q_TEXT, function);
    text = std::string("Error in ") + function + ":";
    QOR_INT count = 0;
    QappGetError(Q_DEFAULT_APPLICATION, Q_CURRENT_SUB_NB, &count);
    for (QOR_INT i = 0; i < count && i < 3; ++i) {
        char sub[256] = {};
        QappGetError(Q_DEFAULT_APPLICATION, (Q_CURRENT_SUB_1 + i) + Q_TEXT, sub);
        text += " ";
        text += sub[0] ? sub : "Null.";
    }
    return true;
}

void CQorTransportLayerBase::ClearError() {
    QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_RESET, 0);
    if (further1_ != 0) QsysControl(further1_, Q_SYSTEM_ERROR_CLEAR, 0);
}

std::string CQorTransportLayerBase::DescriptionFileName() const {
    if (!BoardSpecific()) return FilePrefix().substr(0, FilePrefix().size() - 1) + ".xml";
    QOR_ID owner = object_;
    QobjInquire(object_, Q_OWNER_SYSTEM, &owner);
    QOR_INT64 type = 0, subtype = 0;
    QsysInquire(owner, Q_SYSTEM_TYPE, &type);
    QsysInquire(owner, Q_SYSTEM_SUBTYPE, &subtype);
    std::string token = BoardTypeToken(type, subtype);
    if (token.empty()) return {};
    return FilePrefix() + token + ".xml";
}

template <>
std::string CQorTransportLayer<QdigTLProxy>::FilePrefix() const { return "QdigControl_"; }
template <>
std::string CQorTransportLayer<QsysTLProxy>::FilePrefix() const { return "QsysControl_"; }
template <>
std::string CQorTransportLayer<QseqTLProxy>::FilePrefix() const { return "QseqControl_"; }

template <>
bool CQorTransportLayer<QdigTLProxy>::BoardSpecific() const { return true; }
template <>
bool CQorTransportLayer<QsysTLProxy>::BoardSpecific() const { return true; }
template <>
bool CQorTransportLayer<QseqTLProxy>::BoardSpecific() const {
    QOR_INT64 format = 0;
    QseqInquire(ObjectId(), Q_SEQUENCE_FORMAT, &format);
    return (format & Q_SEQUENCE_BOARD_SPECIFIC) != 0;
}

template class CQorTransportLayer<QdigTLProxy>;
template class CQorTransportLayer<QsysTLProxy>;
template class CQorTransportLayer<QseqTLProxy>;
