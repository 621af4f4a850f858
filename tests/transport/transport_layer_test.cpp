// The transport port and node-map loading over the library's simulated
// system, and the camera's files through the file access protocol.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

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
    explicit Loaded(QOR_ID object, const std::string& dir = QUILLON_DATA_DIR) {
        map = LoadNodeMapForObject(object, port, dir);
    }
    ~Loaded() { map.reset(); } // the node map goes before its port
};

int64_t readPort(CQorTransportLayerBase& port, int64_t address) {
    int64_t v = 0;
    port.Read(&v, address, 8);
    return v;
}

} // namespace

// Every integer register of each object's description reads what a plain
// inquire of its control type gives, and a write reaches the object.
TEST(TransportLayer, EachObjectsRegistersReachItsControlTypes) {
    Library lib;
    QsysTLProxy sys;
    QdigTLProxy dig;
    QseqTLProxy seq;
    const struct {
        QOR_ID object;
        const char* file;
        const BaseTLProxy& proxy;
    } rows[] = {{lib.sys, "QsysControl_sim.xml", sys},
                {lib.dig, "QdigControl_sim.xml", dig},
                {lib.seqBoard, "QseqControl_sim.xml", seq},
                {lib.seqGeneric, "QseqControl.xml", seq}};
    int written = 0;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.file);
        Loaded loaded(row.object);
        ASSERT_NE(loaded.map, nullptr);
        EXPECT_EQ(loaded.port->DescriptionFileName(), row.file);
        EXPECT_EQ(loaded.map->useCount, 1);
        EXPECT_EQ(loaded.port->ObjectId(), row.object);
        EXPECT_EQ(loaded.port->FirstFurtherId(), lib.sys) << "the owner system";
        EXPECT_NE(loaded.port->SecondFurtherId(), 0);
        NodeList_t nodes;
        loaded.map->map._GetNodes(nodes);
        int compared = 0;
        for (INode* n : nodes) {
            CIntegerPtr reg = n;
            gcstring address, attributes;
            if (!reg || !n->GetProperty("Address", address, attributes) ||
                n->GetProperty("LSB", attributes, attributes) || !IsReadable(n->GetAccessMode()))
                continue;
            int64_t type = std::stoll(std::string(address), nullptr, 0);
            if ((type & (kAvailabilityProbeBit | kGenericInquireBit)) || row.proxy.IsString(type))
                continue;
            auto direct = [&] {
                QOR_INT64 v = row.proxy.IsClass2(type) || row.proxy.IsClass4(type) ? 0 : Q_DEFAULT;
                row.proxy.Inquire(row.object, type, &v);
                return v;
            };
            if (direct() != direct()) continue; // a clock
            EXPECT_EQ(reg->GetValue(), direct()) << n->GetName();
            ++compared;
            if (!IsWritable(n->GetAccessMode()) || reg->GetMin() >= reg->GetMax()) continue;
            int64_t target = reg->GetValue() == reg->GetMin() ? reg->GetMax() : reg->GetMin();
            try {
                reg->SetValue(target, false);
            } catch (const GenICam::AccessException&) {
                continue; // the library may refuse values its own table forbids
            }
            EXPECT_EQ(direct(), target) << n->GetName();
            ++written;
        }
        EXPECT_GT(compared, 0);
    }
    EXPECT_GT(written, 0);
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
        ADD_FAILURE() << "an unknown control type must not read";
    } catch (const GenICam::AccessException& e) {
        // The function and every sub-message of the library's error.
        EXPECT_STREQ(e.GetDescription(), "Error in QdigInquire: Invalid control type. "
                                         "Control type 987654 is not known to digitizers.");
        EXPECT_STREQ(e.GetSourceFileName(), "GenICamQorTransportLayer");
    }
    EXPECT_THROW(port->Write(&buffer, unknownType, 8), GenICam::AccessException);
    QOR_INT print = -1, exception = -1;
    QappInquire(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, &print);
    QappInquire(Q_DEFAULT_APPLICATION, Q_ERROR_EXCEPTION, &exception);
    EXPECT_EQ(std::pair(print, exception), std::pair(QOR_INT{Q_PRINT_ENABLE}, QOR_INT{3}));
    EXPECT_EQ(QappGetError(Q_DEFAULT_APPLICATION, Q_CURRENT, nullptr), 0)
        << "the caller's error state is back";
    QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_EXCEPTION, 0);

    buffer = 0x5a5a;
    port->Read(&buffer, unknownType, 0);
    EXPECT_EQ(buffer, 0x5a5a) << "length 0 reads nothing";
    EXPECT_EQ(readPort(*port, unknownType | kAvailabilityProbeBit), 0)
        << "a probe answers, never throws";
    EXPECT_EQ(QappGetError(Q_DEFAULT_APPLICATION, Q_CURRENT, nullptr), 0);
    QOR_INT64 generic = 0;
    QobjInquire(lib.dig, Q_OBJECT_GENERIC, &generic);
    EXPECT_EQ(readPort(*port, kGenericInquireBit), generic);

    // No node map without a usable description or port.
    std::string glued = QUILLON_DATA_DIR;
    glued.pop_back(); // no trailing separator: the name glues to the folder's
    for (auto [object, dir] : {std::pair{lib.sys, glued},
                               {lib.app, std::string(QUILLON_DATA_DIR)},
                               {lib.sys, std::string("/nonexistent/")}}) {
        Loaded none(object, dir);
        EXPECT_EQ(none.map, nullptr);
        EXPECT_EQ(none.port, nullptr);
    }
}

// Strings travel as text bounded by the buffer; a probe finds an empty one
// not available; class 2 values arrive whole, class 3 ones never set read
// as the default marker; numbers read into short registers fill only them.
TEST(TransportLayer, ValuesTravelAsTheirClassAsks) {
    Library lib;
    auto port = CreateTransportLayer(lib.dig, Q_DIGITIZER_OBJECT);
    EXPECT_EQ(readPort(*port, Q_DIG_USER_LABEL | kAvailabilityProbeBit), 0);
    const char label[] = "Line camera 3";
    port->Write(label, Q_DIG_USER_LABEL, sizeof label);
    EXPECT_EQ(readPort(*port, Q_DIG_USER_LABEL | kAvailabilityProbeBit), 1);
    char whole[64], shortBuffer[8];
    std::memset(whole, 'x', sizeof whole);
    port->Read(whole, Q_DIG_USER_LABEL, sizeof whole);
    EXPECT_STREQ(whole, label);
    std::memset(shortBuffer, 'x', sizeof shortBuffer);
    port->Read(shortBuffer, Q_DIG_USER_LABEL, 4);
    EXPECT_EQ(std::string(shortBuffer, sizeof shortBuffer), "Linexxxx");

    const int64_t big = (int64_t{1} << 60) + 3;
    port->Write(&big, Q_DIG_USER_DATA, 8);
    EXPECT_EQ(readPort(*port, Q_DIG_USER_DATA), big);
    EXPECT_EQ(readPort(*port, Q_DIG_TIMER_DELAY), Q_DEFAULT);

    const int64_t timeout = 0x0A0B0C;
    port->Write(&timeout, Q_DIG_GRAB_TIMEOUT, 4);
    for (int64_t address : {int64_t{Q_DIG_GRAB_TIMEOUT}, Q_DIG_GRAB_TIMEOUT | kAvailabilityProbeBit,
                            kGenericInquireBit}) {
        uint8_t bytes[8];
        std::memset(bytes, 0xEE, sizeof bytes);
        port->Read(bytes, address, 4); // a 4-byte register
        const int64_t all = readPort(*port, address);
        EXPECT_EQ(std::memcmp(bytes, &all, 4), 0) << address;
        EXPECT_EQ(std::vector<uint8_t>(bytes + 4, bytes + 8), std::vector<uint8_t>(4, 0xEE))
            << address;
    }
    EXPECT_EQ(readPort(*port, Q_DIG_GRAB_TIMEOUT), timeout);
}

// The digitizer's camera node map comes from the library; its files come
// back byte for byte, in more pieces than the device's buffer holds.
TEST(TransportLayer, CameraFilesSurviveARoundTrip) {
    Library lib;
    QOR_INT64 pointer = 0;
    QdigInquire(lib.dig, Q_GC_NODE_MAP, &pointer);
    auto* camera = reinterpret_cast<INodeMap*>(pointer);
    ASSERT_NE(camera, nullptr);
    EXPECT_EQ(std::string(CStringPtr(camera->GetNode("DeviceVendorName"))->GetValue()), "Torvex");
    std::string data(5000, '\0');
    for (size_t i = 0; i < data.size(); ++i)
        data[i] = static_cast<char>(i * 7 + i / 256);
    {
        ODevFileStream out(camera, "UserSet2");
        ASSERT_TRUE(out.is_open());
        out.write(data.data(), static_cast<std::streamsize>(data.size()));
    }
    IDevFileStream in(camera, "UserSet2");
    std::string back(data.size() + 10, '?');
    in.read(back.data(), static_cast<std::streamsize>(back.size()));
    back.resize(static_cast<size_t>(in.gcount()));
    EXPECT_EQ(back, data);
}
