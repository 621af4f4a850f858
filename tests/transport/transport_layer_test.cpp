// The transport port and node-map loading over the library's simulated
// system: descriptions from data/, features that reach the objects' control
// types, failures as access exceptions with the library's state restored.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "GenApi/GenApi.h"
#include "node_map_loading.h"
#include "qorvis.h"

using namespace GenApi;

namespace {

struct Library {
    QOR_ID app = 0, sys = 0, dig = 0, seqBoard = 0, seqGeneric = 0;
    Library() {
        QappAlloc(QOR_TEXT(""), &app);
        QsysAlloc(app, QOR_TEXT("Q_SYSTEM_SIMULATED"), 0, Q_DEFAULT, &sys);
        QdigAlloc(sys, 0, QOR_TEXT(""), Q_DEFAULT, &dig);
        QseqAlloc(sys, 0, 1, Q_DEFAULT, &seqBoard);
        QseqAlloc(sys, 0, 0, Q_DEFAULT, &seqGeneric);
    }
    ~Library() {
        QseqFree(seqGeneric);
        QseqFree(seqBoard);
        QdigFree(dig);
        QsysFree(sys);
        QappFree(app);
    }
};

struct Loaded {
    std::unique_ptr<CQorTransportLayerBase> port;
    std::unique_ptr<NodeMapReference> map;
    Loaded(QOR_ID object, const std::string& dir = QUILLON_DATA_DIR) { map = LoadNodeMapForObject(object, port, dir); }
    ~Loaded() { map.reset(); } // the node map goes before its port
    INodeMap* nodes() const { return map->map._Ptr(); }
};

int64_t readPort(CQorTransportLayerBase& port, int64_t address) {
    int64_t v = 0;
    port.Read(&v, address, 8);
    return v;
}

// The value a plain inquire gives, pre-set as the port pre-sets it.
int64_t inquireDirect(const BaseTLProxy& proxy, QOR_ID object, int64_t type) {
    QOR_INT64 v = proxy.IsClass2(type) || proxy.IsClass4(type) ? 0 : Q_DEFAULT;
    proxy.Inquire(object, type, &v);
    return v;
}

} // namespace

TEST(TransportLayer, LoadsEachObjectsDescriptionAndConnectsItsPort) {
    Library lib;
    struct Expect {
        QOR_ID object;
        const char* file;
    };
    for (const Expect& e : {Expect{lib.sys, "QsysControl_sim.xml"}, Expect{lib.dig, "QdigControl_sim.xml"},
                            Expect{lib.seqBoard, "QseqControl_sim.xml"}, Expect{lib.seqGeneric, "QseqControl.xml"}}) {
        SCOPED_TRACE(e.file);
        Loaded loaded(e.object);
        ASSERT_NE(loaded.map, nullptr);
        ASSERT_NE(loaded.port, nullptr);
        EXPECT_EQ(loaded.port->DescriptionFileName(), e.file);
        EXPECT_EQ(loaded.map->useCount, 1);
        EXPECT_EQ(loaded.port->ObjectId(), e.object);
        EXPECT_EQ(loaded.port->FirstFurtherId(), lib.sys) << "the owner system";
        EXPECT_NE(loaded.port->SecondFurtherId(), 0);
        EXPECT_EQ(std::string(loaded.nodes()->GetDeviceName()), "Device");
        // Every feature reads, or fails as a GenICam exception.
        NodeList_t nodes;
        loaded.nodes()->GetNodes(nodes);
        int values = 0;
        for (INode* n : nodes) {
            CValuePtr v = n;
            if (!v || !IsReadable(n->GetAccessMode())) continue;
            try {
                v->ToString();
                ++values;
            } catch (const GenICam::GenericException&) {
            }
        }
        EXPECT_GT(values, 3);
    }
}

TEST(TransportLayer, RegistersReachTheObjectsControlTypes) {
    Library lib;
    Loaded loaded(lib.dig);
    ASSERT_NE(loaded.map, nullptr);
    QdigTLProxy proxy;
    NodeList_t nodes;
    loaded.nodes()->GetNodes(nodes);
    int compared = 0, written = 0;
    for (INode* n : nodes) {
        CIntegerPtr reg = n;
        gcstring address, attributes;
        if (!reg || !n->GetProperty("Address", address, attributes) || n->GetProperty("LSB", address, attributes))
            continue;
        n->GetProperty("Address", address, attributes);
        int64_t type = std::stoll(std::string(address), nullptr, 0);
        if ((type & (kAvailabilityProbeBit | kGenericInquireBit)) || proxy.IsString(type)) continue;
        if (!IsReadable(n->GetAccessMode())) continue;
        EXPECT_EQ(reg->GetValue(), inquireDirect(proxy, lib.dig, type)) << n->GetName();
        ++compared;
        if (IsWritable(n->GetAccessMode()) && reg->GetMin() < reg->GetMax()) {
            int64_t target = reg->GetValue() == reg->GetMin() ? reg->GetMax() : reg->GetMin();
            try {
                reg->SetValue(target, false);
            } catch (const GenICam::GenericException&) {
                continue; // the library may refuse values its own table forbids
            }
            EXPECT_EQ(inquireDirect(proxy, lib.dig, type), target) << n->GetName();
            ++written;
        }
    }
    EXPECT_GT(compared, 5);
    EXPECT_GT(written, 1);
}

TEST(TransportLayer, FailuresAreAccessExceptionsAndTheLibraryStateComesBack) {
    Library lib;
    auto port = CreateTransportLayer(lib.dig, Q_DIGITIZER_OBJECT);
    QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, Q_PRINT_ENABLE);
    QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_EXCEPTION, 3);
    const int64_t unknownType = 987654;
    int64_t buffer = 0x5a5a;
    try {
        port->Read(&buffer, unknownType, 8);
        FAIL() << "an unknown control type must not read";
    } catch (const GenICam::AccessException& e) {
        EXPECT_EQ(std::string(e.GetDescription()).rfind("Error in QdigInquire", 0), 0u) << e.GetDescription();
        EXPECT_STREQ(e.GetSourceFileName(), "GenICamQorTransportLayer");
    }
    EXPECT_THROW(port->Write(&buffer, unknownType, 8), GenICam::AccessException);
    QOR_INT print = -1, exception = -1;
    QappInquire(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, &print);
    QappInquire(Q_DEFAULT_APPLICATION, Q_ERROR_EXCEPTION, &exception);
    EXPECT_EQ(print, Q_PRINT_ENABLE);
    EXPECT_EQ(exception, 3);
    EXPECT_EQ(QappGetError(Q_DEFAULT_APPLICATION, Q_CURRENT, nullptr), 0) << "the caller's error state is back";
    QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_EXCEPTION, 0);

    // Length 0 reads nothing and cannot fail.
    buffer = 0x5a5a;
    EXPECT_NO_THROW(port->Read(&buffer, unknownType, 0));
    EXPECT_EQ(buffer, 0x5a5a);
    // Probes answer 0 for what does not read, and never throw.
    EXPECT_EQ(readPort(*port, unknownType | kAvailabilityProbeBit), 0);
    EXPECT_EQ(QappGetError(Q_DEFAULT_APPLICATION, Q_CURRENT, nullptr), 0);
    // The generic object inquire.
    QOR_INT64 generic = 0;
    QobjInquire(lib.dig, Q_OBJECT_GENERIC, &generic);
    EXPECT_EQ(readPort(*port, kGenericInquireBit), generic);
}

TEST(TransportLayer, NoNodeMapWithoutAUsableDescription) {
    Library lib;
    std::string dir = QUILLON_DATA_DIR;
    dir.pop_back(); // no trailing separator: the name glues to the folder's
    Loaded glued(lib.sys, dir);
    EXPECT_EQ(glued.map, nullptr);
    EXPECT_EQ(glued.port, nullptr);
    Loaded application(lib.app);
    EXPECT_EQ(application.map, nullptr);
    EXPECT_EQ(application.port, nullptr);
    Loaded missing(lib.sys, "/nonexistent/");
    EXPECT_EQ(missing.map, nullptr);
}

TEST(TransportLayer, TheDigitizersCameraNodeMapComesFromTheLibrary) {
    Library lib;
    INodeMap* camera = nullptr;
    QOR_INT64 pointer = 0;
    QdigInquire(lib.dig, Q_GC_NODE_MAP, &pointer);
    camera = reinterpret_cast<INodeMap*>(pointer);
    ASSERT_NE(camera, nullptr);
    CStringPtr vendor = camera->GetNode("DeviceVendorName");
    EXPECT_EQ(std::string(vendor->GetValue()), "Torvex");
}

TEST(TransportLayer, StringTypesTravelAsTextBoundedByTheBuffer) {
    Library lib;
    auto port = CreateTransportLayer(lib.dig, Q_DIGITIZER_OBJECT);
    // An empty string is "not available" to a probe, a set one is.
    EXPECT_EQ(readPort(*port, Q_DIG_USER_LABEL | kAvailabilityProbeBit), 0);
    const char label[] = "Line camera 3";
    port->Write(label, Q_DIG_USER_LABEL, sizeof label);
    EXPECT_EQ(readPort(*port, Q_DIG_USER_LABEL | kAvailabilityProbeBit), 1);
    char direct[64] = {};
    QdigInquire(lib.dig, Q_DIG_USER_LABEL, direct);
    EXPECT_STREQ(direct, label);

    char whole[64];
    std::memset(whole, 'x', sizeof whole);
    port->Read(whole, Q_DIG_USER_LABEL, sizeof whole);
    EXPECT_STREQ(whole, label);
    // A short buffer gets the start of the text and nothing past its end.
    char shortBuffer[8];
    std::memset(shortBuffer, 'x', sizeof shortBuffer);
    port->Read(shortBuffer, Q_DIG_USER_LABEL, 4);
    EXPECT_EQ(std::string(shortBuffer, 4), "Line");
    EXPECT_EQ(shortBuffer[4], 'x');

    // Class 2: 64-bit values beyond double precision arrive whole.
    const int64_t big = (int64_t{1} << 60) + 3;
    port->Write(&big, Q_DIG_USER_DATA, 8);
    QOR_INT64 stored = 0;
    QdigInquire(lib.dig, Q_DIG_USER_DATA, &stored);
    EXPECT_EQ(stored, big);
    EXPECT_EQ(readPort(*port, Q_DIG_USER_DATA), big);
    // Class 3: a setting never made reads as the default marker.
    EXPECT_EQ(readPort(*port, Q_DIG_TIMER_DELAY), Q_DEFAULT);
}

TEST(TransportLayer, NumbersReadIntoShortRegistersFillOnlyTheirLength) {
    Library lib;
    auto port = CreateTransportLayer(lib.dig, Q_DIGITIZER_OBJECT);
    const int64_t timeout = 0x0A0B0C;
    port->Write(&timeout, Q_DIG_GRAB_TIMEOUT, 4);
    for (int64_t address : {int64_t{Q_DIG_GRAB_TIMEOUT}, Q_DIG_GRAB_TIMEOUT | kAvailabilityProbeBit,
                            kGenericInquireBit}) {
        SCOPED_TRACE(address);
        uint8_t bytes[8];
        std::memset(bytes, 0xEE, sizeof bytes);
        port->Read(bytes, address, 4); // a 4-byte register
        const int64_t whole = readPort(*port, address);
        EXPECT_EQ(std::memcmp(bytes, &whole, 4), 0) << "the low bytes";
        for (size_t i = 4; i < sizeof bytes; ++i)
            EXPECT_EQ(bytes[i], 0xEE) << "past the register";
    }
    EXPECT_EQ(readPort(*port, Q_DIG_GRAB_TIMEOUT), timeout);
}
