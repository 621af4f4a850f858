// The library's own descriptions (data/Q*Control*.xml) against its control
// types: the embedded copies match the files, every register addresses a
// type of its object kind with the right value kind and access, every table
// entry sits in the number range whose value class fits it, and each
// description reads completely through a port over the C API that carries
// values the way a browser's port does.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <functional>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include "GenApi/GenApi.h"
#include "api/descriptions.h"
#include "cameras/camera_system.h"
#include "qorvis.h"
#include "qorvis_api_support.h"
#include "sim/sim_system.h"

namespace {

using namespace qorvis_test;
using namespace GenApi;

constexpr int64_t kProbeBit = int64_t{1} << 46;
constexpr int64_t kGenericBit = int64_t{1} << 47;

// ---- how a browser's port carries each number: t with the bits of M cleared
int64_t cleared(int64_t t, int64_t mask) { return t & ~mask; }
bool within(int64_t v, int64_t lower, int64_t upper) { return v >= lower && v < upper; }

enum class Kind { System, Digitizer, Sequence };

bool isString(Kind k, int64_t t) {
    switch (k) {
    case Kind::Digitizer: return within(cleared(t, 0x1000300000000), 7700, 8000);
    case Kind::System: {
        if (within(cleared(t, 0x1000000ff0000), 7700, 7800)) return true;
        int64_t a = cleared(t, 0x1000000000000);
        return within(a, 33000, 36001) || within(a, 10312, 10372) || within(a, 16800, 17000) ||
               within(a, 22000, 22400) || a == 0x1000000000;
    }
    case Kind::Sequence: return cleared(t, 0x1000000000000) == 0xf40;
    }
    return false;
}

bool isClass2(Kind k, int64_t t) {
    switch (k) {
    case Kind::Digitizer: {
        int64_t a = cleared(t, 0xf0300000000);
        if (within(a, 6000, 6700) || within(a, 133072, 134073) || within(a, 0x3a000, 260097)) return true;
        int64_t b = cleared(t, 0xf036fc30000);
        return b == 6650 || b == 6651 || cleared(t, 0xf0300090000) == 0x1a10 || a == 0x400000;
    }
    case Kind::System: {
        int64_t a = cleared(t, 0xf0300ff0000);
        int64_t b = cleared(t, 0xf0000000000);
        return within(a, 7300, 7400) || a == 6647 || within(b, 133072, 134073) || b == 5136;
    }
    case Kind::Sequence: {
        int64_t a = cleared(t, 0xf0001000000);
        return a == 6607 || a == 3712 || cleared(t, 0xf0000000000) == 0xe80;
    }
    }
    return false;
}

bool isClass3(Kind k, int64_t t) {
    int64_t a = cleared(t, k == Kind::Digitizer ? 0xf0300000000 : 0xf0000000000);
    if (within(a, 6700, 6800)) return true;
    if (k == Kind::Digitizer)
        return a == 0x10081000 || a == 0x10081500 || a == 0x10081100 || a == 0x10080000 || a == 2953314304 ||
               a == 2953314560 || a == 2953315072 || cleared(t, 0xf0300003000) == 0xfa0;
    if (k == Kind::System)
        return a == 0x10081000 || a == 0x10081500 || a == 0x10080000 || a == 2953314304;
    return false;
}

bool isClass4(Kind k, int64_t t) {
    if (k == Kind::Digitizer) {
        int64_t a = cleared(t, 0x300000000);
        return within(a, 1100, 1200) || a == 1049 || a == 5328;
    }
    if (k == Kind::System) return within(t, 1100, 1200) || t == 1049;
    return false;
}

QOR_INT inquire(Kind k, QOR_ID id, int64_t type, void* out) {
    switch (k) {
    case Kind::System: return QsysInquire(id, type, out);
    case Kind::Digitizer: return QdigInquire(id, type, out);
    case Kind::Sequence: return QseqInquire(id, type, out);
    }
    return 0;
}
void control(Kind k, QOR_ID id, int64_t type, double value) {
    if (k == Kind::System) QsysControl(id, type, value);
    if (k == Kind::Digitizer) QdigControl(id, type, value);
    if (k == Kind::Sequence) QseqControl(id, type, value);
}
void controlInt64(Kind k, QOR_ID id, int64_t type, int64_t value) {
    if (k == Kind::System) QsysControlInt64(id, type, value);
    if (k == Kind::Digitizer) QdigControlInt64(id, type, value);
    if (k == Kind::Sequence) QseqControlInt64(id, type, value);
}

std::string errorText() {
    PendingError e = pendingError();
    std::string text = "Error in " + e.function + ":";
    for (const std::string& m : e.messages) text += " " + m;
    return text;
}

// Carries values as a browser's port does: 8-byte numbers pre-set by class,
// texts by size and then text, class-2 writes through the 64-bit control.
class CApiPort : public IPort {
public:
    CApiPort(Kind kind, QOR_ID id) : kind_(kind), id_(id) {}
    EAccessMode GetAccessMode() const override { return RW; }

    void Read(void* buffer, int64_t address, int64_t length) override {
        QOR_INT64 value = 0;
        if (address & kGenericBit) {
            QobjInquire(id_, Q_OBJECT_GENERIC, &value);
        } else if (address & kProbeBit) {
            int64_t t = address & ~kProbeBit;
            inquire(kind_, id_, isString(kind_, t) ? t + Q_STRING_SIZE : t, &value);
            value = QappGetError(Q_DEFAULT_APPLICATION, Q_CURRENT, nullptr) == 0 ? 1 : 0;
            resetError();
        } else if (isString(kind_, address)) {
            QOR_INT64 size = 0;
            inquire(kind_, id_, address + Q_STRING_SIZE, &size);
            std::vector<char> text(static_cast<std::size_t>(std::max<QOR_INT64>(size, 1)), '\0');
            if (size > 0) inquire(kind_, id_, address, text.data());
            check();
            std::memset(buffer, 0, static_cast<std::size_t>(length));
            std::memcpy(buffer, text.data(), std::min(text.size(), static_cast<std::size_t>(length)));
            return;
        } else {
            value = isClass2(kind_, address) || isClass4(kind_, address) ? 0 : Q_DEFAULT;
            inquire(kind_, id_, address, &value);
        }
        check();
        std::memcpy(buffer, &value, static_cast<std::size_t>(std::min<int64_t>(length, 8)));
    }

    void Write(const void* buffer, int64_t address, int64_t length) override {
        if (isString(kind_, address)) {
            std::string text(static_cast<const char*>(buffer), static_cast<std::size_t>(length));
            text.resize(std::strlen(text.c_str()));
            control(kind_, id_, address, Q_PTR_TO_DOUBLE(text.c_str()));
        } else {
            int64_t value = 0;
            std::memcpy(&value, buffer, static_cast<std::size_t>(std::min<int64_t>(length, 8)));
            if (isClass2(kind_, address)) controlInt64(kind_, id_, address, value);
            else control(kind_, id_, address, static_cast<double>(value));
        }
        check();
    }

private:
    void check() {
        if (QappGetError(Q_DEFAULT_APPLICATION, Q_CURRENT, nullptr) == 0) return;
        std::string text = errorText();
        resetError();
        throw ACCESS_EXCEPTION("%s", text.c_str());
    }
    Kind kind_;
    QOR_ID id_;
};

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

struct Description {
    const char* file;
    Kind kind;
};
const Description kDescriptions[] = {{"QsysControl_sim.xml", Kind::System},
                                     {"QdigControl_sim.xml", Kind::Digitizer},
                                     {"QseqControl_sim.xml", Kind::Sequence},
                                     {"QseqControl.xml", Kind::Sequence}};

class Descriptions : public QorvisTest {
protected:
    QOR_ID objectFor(Kind k) const { return k == Kind::System ? sys : k == Kind::Digitizer ? dig : seq; }

    void load(CNodeMapRef& map, const char* file) {
        map._LoadXMLFromFile((std::string(QORVIS_DATA_DIR) + "/" + file).c_str());
    }

    std::string property(INode* node, const char* name) {
        gcstring value, attribute;
        return node->GetProperty(name, value, attribute) ? std::string(value) : std::string();
    }
};

TEST_F(Descriptions, EmbeddedCopiesMatchTheFiles) {
    ASSERT_EQ(qorvis::api::embeddedDescriptions().size(), 5u);
    for (const qorvis::api::EmbeddedDescription& d : qorvis::api::embeddedDescriptions()) {
        std::string onDisk = readFile(std::string(QORVIS_DATA_DIR) + "/" + std::string(d.fileName));
        ASSERT_FALSE(onDisk.empty()) << d.fileName;
        EXPECT_EQ(d.xml, onDisk) << d.fileName;
    }
    EXPECT_TRUE(qorvis::api::embeddedDescription("QdigControl_gige.xml").empty());
}

TEST_F(Descriptions, RegistersAddressTypesOfTheirKindWithMatchingValueAndAccess) {
    for (const Description& d : kDescriptions) {
        SCOPED_TRACE(d.file);
        CNodeMapRef map;
        load(map, d.file);
        ASSERT_NE(map._GetNode("Root"), nullptr);
        CPortPtr port = map._GetNode("Device");
        ASSERT_TRUE(port.IsValid());
        QOR_ID id = objectFor(d.kind);
        NodeList_t nodes;
        map._GetNodes(nodes);
        int registers = 0, probes = 0, generics = 0;
        for (INode* n : nodes) {
            std::string address = property(n, "Address");
            if (address.empty()) continue;
            SCOPED_TRACE(std::string(n->GetName()));
            ++registers;
            int64_t a = std::stoll(address, nullptr, 0);
            std::string tag = property(n, "Length");
            if (a & kGenericBit) {
                ++generics;
                EXPECT_EQ(tag, "8");
                continue;
            }
            if (a & kProbeBit) {
                ++probes;
                EXPECT_EQ(tag, "8");
                EXPECT_EQ(property(n, "AccessMode"), "RO");
                continue;
            }
            const bool isStringReg = n->GetPrincipalInterfaceType() == intfIString;
            EXPECT_EQ(isStringReg, isString(d.kind, a)) << "texts live at string addresses and nowhere else";
            if (!isStringReg && n->GetPrincipalInterfaceType() == intfIInteger) {
                EXPECT_EQ(tag, "8") << "the port stores 8 bytes";
                EXPECT_EQ(property(n, "Endianess"), "LittleEndian");
            }
            // A register whose availability is probed may address a type the board lacks.
            if (!property(n, "pIsAvailable").empty()) {
                std::string probeName = property(n, "pIsAvailable");
                CIntegerPtr probe = map._GetNode(probeName.c_str());
                ASSERT_TRUE(probe.IsValid());
                QOR_INT64 v = 0;
                inquire(d.kind, id, isStringReg ? a + Q_STRING_SIZE : a, &v);
                if (QappGetError(Q_DEFAULT_APPLICATION, Q_CURRENT, nullptr) != 0) {
                    resetError();
                    continue;
                }
            }
            QOR_INT64 value = 0;
            QOR_INT size = inquire(d.kind, id, isStringReg ? a + Q_STRING_SIZE : a, &value);
            EXPECT_NO_PENDING_ERROR();
            // Writable registers accept their value back; read-only ones refuse writes.
            std::string access = property(n, "AccessMode");
            if (isStringReg) {
                std::string text(static_cast<std::size_t>(size), '\0');
                inquire(d.kind, id, a, text.data());
                control(d.kind, id, a, Q_PTR_TO_DOUBLE(text.c_str()));
            } else if (isClass2(d.kind, a)) {
                controlInt64(d.kind, id, a, value);
            } else {
                control(d.kind, id, a, static_cast<double>(value));
            }
            PendingError e = pendingError();
            resetError();
            if (access == "RW") EXPECT_EQ(e.code, 0) << errorText();
            else EXPECT_EQ(e.code, Q_ERR_READ_ONLY) << a << " is read-only in the description, not in the library";
        }
        EXPECT_GT(registers, 10);
        EXPECT_GE(generics, 1);
        if (std::string(d.file) != "QseqControl.xml") {
            EXPECT_GE(probes, 1);
        }
    }
}

TEST_F(Descriptions, EveryTableEntrySitsInTheRangeOfItsValueClass) {
    struct Table {
        Kind kind;
        const qorvis::api::ControlTable* table;
    };
    for (const Table& t : {Table{Kind::System, &qorvis::sim::systemControlTypes()},
                           Table{Kind::Digitizer, &qorvis::sim::digitizerControlTypes()},
                           Table{Kind::Sequence, &qorvis::sim::sequenceControlTypes()},
                           Table{Kind::System, &qorvis::cameras::systemControlTypes()},
                           Table{Kind::Digitizer, &qorvis::cameras::digitizerControlTypes()}}) {
        SCOPED_TRACE(std::string(t.table->kindName()));
        EXPECT_GE(t.table->types().size(), 15u);
        EXPECT_LE(t.table->types().size(), 30u);
        for (const qorvis::api::ControlType& c : t.table->types()) {
            SCOPED_TRACE(c.number);
            bool text = c.kind == qorvis::api::ValueKind::Text;
            EXPECT_EQ(text, isString(t.kind, c.number)) << c.name;
            EXPECT_EQ(text, isString(t.kind, c.number + Q_STRING_SIZE)) << "the size flag keeps a text type a text type";
            // Values a double cannot carry exactly must travel through the 64-bit control.
            constexpr int64_t kExact = int64_t{1} << 53;
            bool wide = !text && c.access == qorvis::api::Access::ReadWrite && c.allowed.empty() &&
                        (c.min < -kExact || c.max > kExact);
            if (wide) {
                EXPECT_TRUE(isClass2(t.kind, c.number)) << c.name;
            }
            // "Default until set" types sit where a port pre-sets Q_DEFAULT,
            // and the types there answer Q_DEFAULT until set.
            if (!text && !c.read && c.defaultValue == Q_DEFAULT) {
                EXPECT_FALSE(isClass2(t.kind, c.number) || isClass4(t.kind, c.number)) << c.name;
            }
            if (isClass3(t.kind, c.number)) {
                EXPECT_EQ(c.defaultValue, Q_DEFAULT) << c.name;
            }
            // Every name is unique within its table.
            EXPECT_EQ(std::count_if(t.table->types().begin(), t.table->types().end(),
                                    [&](const qorvis::api::ControlType& o) { return o.name == c.name; }),
                      1)
                << c.name;
        }
    }
}

TEST_F(Descriptions, EveryFeatureReadsThroughAPortOverTheCApi) {
    for (const Description& d : kDescriptions) {
        SCOPED_TRACE(d.file);
        CApiPort port(d.kind, objectFor(d.kind));
        CNodeMapRef map;
        load(map, d.file);
        ASSERT_TRUE(map._Connect(&port));
        NodeList_t nodes;
        map._GetNodes(nodes);
        int read = 0, unavailable = 0;
        for (INode* n : nodes) {
            CValuePtr v = n;
            if (!v || n->GetPrincipalInterfaceType() == intfICategory || n->GetPrincipalInterfaceType() == intfIPort)
                continue;
            if (n->GetPrincipalInterfaceType() == intfICommand) continue;
            if (!IsReadable(n->GetAccessMode())) {
                ++unavailable;
                continue;
            }
            EXPECT_NO_THROW(v->ToString()) << n->GetName();
            ++read;
        }
        EXPECT_GT(read, 15);
        if (d.kind == Kind::Digitizer) {
            EXPECT_GE(unavailable, 2) << "the pixel clock and its register";
        }
    }
    EXPECT_NO_PENDING_ERROR();
}

TEST_F(Descriptions, FeaturesWriteTheObjectsSettingsThroughTheCApi) {
    CApiPort digPort(Kind::Digitizer, dig), seqPort(Kind::Sequence, seq), sysPort(Kind::System, sys);
    CNodeMapRef digMap, seqMap, sysMap;
    load(digMap, "QdigControl_sim.xml");
    load(seqMap, "QseqControl_sim.xml");
    load(sysMap, "QsysControl_sim.xml");
    digMap._Connect(&digPort);
    seqMap._Connect(&seqPort);
    sysMap._Connect(&sysPort);

    CEnumerationPtr trigger = digMap._GetNode("TriggerActivation");
    EXPECT_EQ(std::string(trigger->ToString()), "Default");
    trigger->FromString("FallingEdge");
    EXPECT_EQ(inquireDig(dig, Q_DIG_TRIGGER_ACTIVATION), 2);
    CStringPtr label = digMap._GetNode("UserLabel");
    label->SetValue("port A");
    EXPECT_EQ(inquireText(QdigInquire, dig, Q_DIG_USER_LABEL), "port A");
    CIntegerPtr userData = digMap._GetNode("UserData");
    userData->SetValue(std::numeric_limits<int64_t>::max() - 1);
    EXPECT_EQ(inquireDig(dig, Q_DIG_USER_DATA), std::numeric_limits<int64_t>::max() - 1);
    CIntegerPtr sizeX = digMap._GetNode("SizeX");
    EXPECT_EQ(sizeX->GetValue(), 1280);
    EXPECT_EQ(std::string(CStringPtr(digMap._GetNode("CameraModel"))->GetValue()), "TVX1280M");

    CBooleanPtr boardSpecific = seqMap._GetNode("DescriptionIsBoardSpecific");
    EXPECT_TRUE(boardSpecific->GetValue());
    CStringPtr fileName = seqMap._GetNode("FileName");
    EXPECT_EQ(std::string(fileName->GetValue()), "sequence.raw");
    fileName->SetValue("/tmp/a.seq");
    EXPECT_EQ(inquireText(QseqInquire, seq, Q_SEQ_FILE_NAME), "/tmp/a.seq");
    CIntegerPtr maxFile = seqMap._GetNode("MaximumFileSize");
    maxFile->SetValue(int64_t{3} << 30);
    EXPECT_EQ(inquireSeq(seq, Q_SEQ_MAXIMUM_FILE_SIZE), int64_t{3} << 30);

    CEnumerationPtr watchdog = sysMap._GetNode("WatchdogTimeout");
    EXPECT_EQ(std::string(watchdog->ToString()), "Disabled");
    watchdog->FromString("Timeout1s");
    EXPECT_EQ(inquireSys(sys, Q_SYS_WATCHDOG_TIMEOUT), 1000);
    EXPECT_FALSE(IsAvailable(sysMap._GetNode("ExternalPowerVoltage")->GetAccessMode()));
    EXPECT_TRUE(IsAvailable(sysMap._GetNode("WatchdogTimeout")->GetAccessMode()));

    // A refusal of the library reaches the caller as an access exception with its text.
    CIntegerPtr timeout = digMap._GetNode("GrabTimeoutReg");
    try {
        timeout->SetValue(3600001);
        ADD_FAILURE() << "the library must refuse";
    } catch (const GenICam::AccessException& e) {
        EXPECT_STREQ(e.GetDescription(), "Error in QdigControl: Value 3600001 is outside 0 to 3600000.");
    }
    EXPECT_NO_PENDING_ERROR();
}

} // namespace
