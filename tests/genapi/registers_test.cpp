// Register-backed nodes against hand-written device bytes: byte order, sign
// extension, bit fields, computed addresses and lengths, floats, strings and
// raw registers.
#include <gtest/gtest.h>

#include <cfloat>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "fixture_device.h"

namespace {

using namespace GenApi;
using GenICam::GenericException;
using GenICam::OutOfRangeException;
using Bytes = std::vector<uint8_t>;

constexpr int64_t kInt64Min = std::numeric_limits<int64_t>::min();
constexpr int64_t kInt64Max = std::numeric_limits<int64_t>::max();

class Registers : public ::testing::Test {
protected:
    quillon_test::Device d{"registers.xml"};
    CIntegerPtr integer(const char* name) {
        CIntegerPtr p = d.node(name);
        EXPECT_TRUE(p.IsValid()) << name;
        return p;
    }
};

TEST_F(Registers, IntRegSignExtendsSignedValuesOfEveryLength) {
    d.put(0x1010, {0x85});
    EXPECT_EQ(integer("U1")->GetValue(), 0x85);
    EXPECT_EQ(integer("S1")->GetValue(), 0x85 - 0x100);

    d.put(0x1020, {0x34, 0x92});
    d.put(0x1028, {0x92, 0x34});
    EXPECT_EQ(integer("U2L")->GetValue(), 0x9234);
    EXPECT_EQ(integer("S2L")->GetValue(), 0x9234 - 0x10000);
    EXPECT_EQ(integer("U2B")->GetValue(), 0x9234);
    EXPECT_EQ(integer("S2B")->GetValue(), 0x9234 - 0x10000);
    // No Sign and no Endianess: unsigned, little-endian.
    EXPECT_EQ(integer("Plain2")->GetValue(), 0x9234);

    d.put(0x1040, {0x01, 0x02, 0x03, 0x84});
    d.put(0x1048, {0x84, 0x03, 0x02, 0x01});
    EXPECT_EQ(integer("U4L")->GetValue(), 0x84030201LL);
    EXPECT_EQ(integer("S4L")->GetValue(), 0x84030201LL - 0x100000000LL);
    EXPECT_EQ(integer("U4B")->GetValue(), 0x84030201LL);
    EXPECT_EQ(integer("S4B")->GetValue(), 0x84030201LL - 0x100000000LL);

    d.put(0x1080, {0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x88});
    d.put(0x1088, {0x88, 0x07, 0x06, 0x05, 0x04, 0x03, 0x02, 0x01});
    const auto pattern = static_cast<int64_t>(0x8807060504030201ULL);
    EXPECT_EQ(integer("S8L")->GetValue(), pattern);
    EXPECT_EQ(integer("S8B")->GetValue(), pattern);
    // Eight unsigned bytes keep their bit pattern in the int64.
    EXPECT_EQ(integer("U8L")->GetValue(), pattern);
    EXPECT_EQ(integer("U8B")->GetValue(), pattern);

    // With the top bit clear, signed and unsigned agree.
    d.put(0x1048, {0x7F, 0xFF, 0xFF, 0xFE});
    EXPECT_EQ(integer("S4B")->GetValue(), 0x7FFFFFFE);
    EXPECT_EQ(integer("U4B")->GetValue(), 0x7FFFFFFE);
    d.put(0x1010, {0x7F});
    EXPECT_EQ(integer("S1")->GetValue(), 127);
}

TEST_F(Registers, IntRegLimitsFollowLengthAndSign) {
    EXPECT_EQ(integer("U1")->GetMin(), 0);
    EXPECT_EQ(integer("U1")->GetMax(), 255);
    EXPECT_EQ(integer("S1")->GetMin(), -128);
    EXPECT_EQ(integer("S1")->GetMax(), 127);
    EXPECT_EQ(integer("U2B")->GetMax(), 65535);
    EXPECT_EQ(integer("S2B")->GetMin(), -32768);
    EXPECT_EQ(integer("S2B")->GetMax(), 32767);
    EXPECT_EQ(integer("U4L")->GetMax(), 0xFFFFFFFFLL);
    EXPECT_EQ(integer("S4L")->GetMin(), -0x80000000LL);
    EXPECT_EQ(integer("S4L")->GetMax(), 0x7FFFFFFFLL);
    EXPECT_EQ(integer("U8L")->GetMin(), 0);
    EXPECT_EQ(integer("U8L")->GetMax(), kInt64Max);
    EXPECT_EQ(integer("S8B")->GetMin(), kInt64Min);
    EXPECT_EQ(integer("S8B")->GetMax(), kInt64Max);

    EXPECT_THROW(integer("S1")->SetValue(128), OutOfRangeException);
    EXPECT_THROW(integer("S1")->SetValue(-129), OutOfRangeException);
    EXPECT_THROW(integer("U1")->SetValue(256), OutOfRangeException);
    EXPECT_THROW(integer("U1")->SetValue(-1), OutOfRangeException);
    EXPECT_THROW(integer("S2L")->SetValue(-32769), OutOfRangeException);
    EXPECT_THROW(integer("U4B")->SetValue(0x100000000LL), OutOfRangeException);
    // A rejected write leaves the device alone.
    EXPECT_EQ(d.port.WriteCount(), 0u);
}

TEST_F(Registers, IntRegWritesBytesInItsOrderAndTouchesNothingElse) {
    d.put(0x1011, {0xAA});
    integer("S1")->SetValue(-128);
    EXPECT_EQ(d.get(0x1010, 2), (Bytes{0x80, 0xAA}));

    integer("S2L")->SetValue(-2);
    EXPECT_EQ(d.get(0x1020, 2), (Bytes{0xFE, 0xFF}));
    integer("S2B")->SetValue(-2);
    EXPECT_EQ(d.get(0x1028, 2), (Bytes{0xFF, 0xFE}));

    integer("U4L")->SetValue(0x11223344);
    EXPECT_EQ(d.get(0x1040, 4), (Bytes{0x44, 0x33, 0x22, 0x11}));
    integer("U4B")->SetValue(0x11223344);
    EXPECT_EQ(d.get(0x1048, 4), (Bytes{0x11, 0x22, 0x33, 0x44}));

    integer("S8B")->SetValue(-1234567890123LL);
    EXPECT_EQ(d.getBE(0x1088, 8), static_cast<uint64_t>(-1234567890123LL));
    integer("S8L")->SetValue(kInt64Min);
    EXPECT_EQ(d.get(0x1080, 8), (Bytes{0, 0, 0, 0, 0, 0, 0, 0x80}));
    // The big-endian 8-byte register right after it is unchanged.
    EXPECT_EQ(d.getBE(0x1088, 8), static_cast<uint64_t>(-1234567890123LL));
}

TEST_F(Registers, MaskedIntRegOnBigEndianCountsBitsFromTheMostSignificant) {
    d.put(0x1100, {0x92, 0x34, 0x56, 0x79});
    // LSB 31, MSB 0: the whole quadlet.
    EXPECT_EQ(integer("BigWhole")->GetValue(), 0x92345679LL);
    EXPECT_EQ(integer("BigWhole")->GetMax(), 0xFFFFFFFFLL);
    // LSB 19, MSB 8: the 12 bits 0x345.
    EXPECT_EQ(integer("BigField")->GetValue(), 0x345);
    EXPECT_EQ(integer("BigField")->GetMin(), 0);
    EXPECT_EQ(integer("BigField")->GetMax(), 4095);
    EXPECT_EQ(integer("BigTopBit")->GetValue(), 1);
    EXPECT_EQ(integer("BigLowBit")->GetValue(), 1);
    EXPECT_EQ(integer("BigTopBit")->GetMax(), 1);

    // Writing a field keeps every other bit of the register.
    integer("BigField")->SetValue(0xABC);
    EXPECT_EQ(d.get(0x1100, 4), (Bytes{0x92, 0xAB, 0xC6, 0x79}));
    integer("BigTopBit")->SetValue(0);
    EXPECT_EQ(d.get(0x1100, 4), (Bytes{0x12, 0xAB, 0xC6, 0x79}));
    integer("BigLowBit")->SetValue(0);
    EXPECT_EQ(d.get(0x1100, 4), (Bytes{0x12, 0xAB, 0xC6, 0x78}));
    EXPECT_THROW(integer("BigField")->SetValue(4096), OutOfRangeException);
    EXPECT_EQ(d.get(0x1100, 4), (Bytes{0x12, 0xAB, 0xC6, 0x78}));
    EXPECT_EQ(integer("BigField")->GetValue(), 0xABC);

    integer("BigWhole")->SetValue(0x01020304);
    EXPECT_EQ(d.get(0x1100, 4), (Bytes{0x01, 0x02, 0x03, 0x04}));
}

TEST_F(Registers, MaskedIntRegOnLittleEndianCountsBitsFromTheLeastSignificant) {
    d.put(0x1110, {0x78, 0x56, 0x34, 0x12});
    EXPECT_EQ(integer("LittleField")->GetValue(), 0x67);
    EXPECT_EQ(integer("LittleSignedField")->GetValue(), 0x67);
    EXPECT_EQ(integer("LittleBit0")->GetValue(), 0);
    EXPECT_EQ(integer("LittleTopByte")->GetValue(), 0x12);
    EXPECT_EQ(integer("LittleField")->GetMax(), 255);
    EXPECT_EQ(integer("LittleSignedField")->GetMin(), -128);
    EXPECT_EQ(integer("LittleSignedField")->GetMax(), 127);

    integer("LittleField")->SetValue(0xAB);
    EXPECT_EQ(d.get(0x1110, 4), (Bytes{0xB8, 0x5A, 0x34, 0x12}));
    // The same bits seen as a signed field.
    EXPECT_EQ(integer("LittleSignedField")->GetValue(), 0xAB - 0x100);

    integer("LittleSignedField")->SetValue(-1);
    EXPECT_EQ(d.get(0x1110, 4), (Bytes{0xF8, 0x5F, 0x34, 0x12}));
    integer("LittleBit0")->SetValue(1);
    EXPECT_EQ(d.get(0x1110, 4), (Bytes{0xF9, 0x5F, 0x34, 0x12}));
    integer("LittleTopByte")->SetValue(0xEE);
    EXPECT_EQ(d.get(0x1110, 4), (Bytes{0xF9, 0x5F, 0x34, 0xEE}));
    EXPECT_EQ(integer("LittleField")->GetValue(), 0xFF);
}

TEST_F(Registers, PIndexMovesTheAddressByOffsetOrByLength) {
    CIntegerPtr index = integer("Index");
    CIntegerPtr table = integer("Table");
    CIntegerPtr packed = integer("PackedTable");

    d.putLE(0x1200, 10, 4);
    d.putLE(0x1210, 77, 4);
    EXPECT_EQ(table->GetValue(), 10);
    index->SetValue(2);
    EXPECT_EQ(table->GetValue(), 77);
    index->SetValue(3);
    table->SetValue(5);
    EXPECT_EQ(d.getLE(0x1218, 4), 5u);
    EXPECT_EQ(d.getLE(0x1210, 4), 77u);

    // Offset absent: entries are Length (2) bytes apart.
    packed->SetValue(0xBEEF);
    EXPECT_EQ(d.get(0x1300, 8), (Bytes{0, 0, 0, 0, 0, 0, 0xEF, 0xBE}));
    index->SetValue(1);
    d.putLE(0x1302, 0x1234, 2);
    EXPECT_EQ(packed->GetValue(), 0x1234);
}

TEST_F(Registers, PAddressAndEmbeddedSwissKnifeAddToTheAddress) {
    CIntegerPtr viaPAddress = integer("ViaPAddress");
    CIntegerPtr viaKnife = integer("ViaSwissKnife");

    viaPAddress->SetValue(0x11);
    viaKnife->SetValue(0x22);
    EXPECT_EQ(d.getLE(0x1410, 4), 0x11u);  // 0x10 + Base
    EXPECT_EQ(d.getLE(0x1424, 4), 0x22u);  // 0x4 + (Base + 0x20)

    integer("Base")->SetValue(0x2000);
    d.putLE(0x2010, 0x33, 4);
    d.putLE(0x2024, 0x44, 4);
    EXPECT_EQ(viaPAddress->GetValue(), 0x33);
    EXPECT_EQ(viaKnife->GetValue(), 0x44);
}

TEST_F(Registers, PLengthSizesTheRegister) {
    CRegisterPtr blob = d.node("Blob");
    ASSERT_TRUE(blob.IsValid());
    EXPECT_EQ(blob->GetAddress(), 0x1500);
    EXPECT_EQ(blob->GetLength(), 6);
    const uint8_t six[6] = {1, 2, 3, 4, 5, 6};
    blob->Set(six, 6);
    EXPECT_EQ(d.get(0x1500, 7), (Bytes{1, 2, 3, 4, 5, 6, 0}));

    integer("BlobLength")->SetValue(8);
    EXPECT_EQ(blob->GetLength(), 8);
    d.put(0x1506, {7, 8});
    uint8_t eight[8] = {};
    blob->Get(eight, 8);
    EXPECT_EQ(Bytes(eight, eight + 8), (Bytes{1, 2, 3, 4, 5, 6, 7, 8}));
    // The buffer must have the register's length.
    EXPECT_THROW(blob->Get(eight, 6), GenericException);
    EXPECT_THROW(blob->Set(six, 6), GenericException);

    // pIndex without Offset strides by the length the register has now.
    CRegisterPtr table = d.node("BlobTable");
    integer("Index")->SetValue(2);
    EXPECT_EQ(table->GetAddress(), 0x1900 + 2 * 8);
    integer("BlobLength")->SetValue(3);
    EXPECT_EQ(table->GetAddress(), 0x1900 + 2 * 3);
    const uint8_t three[3] = {9, 8, 7};
    table->Set(three, 3);
    EXPECT_EQ(d.get(0x1906, 3), (Bytes{9, 8, 7}));
}

TEST_F(Registers, FloatRegHoldsSinglesAndDoublesInBothByteOrders) {
    CFloatPtr f4l = d.node("F4L");
    CFloatPtr f4b = d.node("F4B");
    CFloatPtr f8l = d.node("F8L");
    CFloatPtr f8b = d.node("F8B");
    ASSERT_TRUE(f4l.IsValid() && f4b.IsValid() && f8l.IsValid() && f8b.IsValid());

    f4l->SetValue(1.5);
    EXPECT_EQ(d.get(0x1600, 4), (Bytes{0x00, 0x00, 0xC0, 0x3F}));
    f4b->SetValue(-2.25);
    EXPECT_EQ(d.get(0x1608, 4), (Bytes{0xC0, 0x10, 0x00, 0x00}));
    f8l->SetValue(1.5);
    EXPECT_EQ(d.get(0x1610, 8), (Bytes{0, 0, 0, 0, 0, 0, 0xF8, 0x3F}));
    f8b->SetValue(0.1);
    EXPECT_EQ(d.getBE(0x1618, 8), 0x3FB999999999999AULL);

    // A double beyond the single range is refused, not stored as infinity,
    // and the limits say where that range ends.
    EXPECT_EQ(f4l->GetMax(), static_cast<double>(FLT_MAX));
    EXPECT_EQ(f4b->GetMin(), -static_cast<double>(FLT_MAX));
    EXPECT_EQ(f8l->GetMax(), DBL_MAX);
    EXPECT_EQ(f8b->GetMin(), -DBL_MAX);
    f4b->SetValue(f4b->GetMin());
    EXPECT_EQ(f4b->GetValue(), -static_cast<double>(FLT_MAX));
    EXPECT_THROW(f4l->SetValue(1e300), OutOfRangeException);
    EXPECT_THROW(f4b->SetValue(-1e39, false), OutOfRangeException);
    EXPECT_EQ(d.get(0x1600, 4), (Bytes{0x00, 0x00, 0xC0, 0x3F}));
    f4l->SetValue(3.0e38);
    EXPECT_EQ(f4l->GetValue(), static_cast<double>(3.0e38f));

    d.put(0x1600, {0x00, 0x00, 0x80, 0xBF});  // -1.0f
    EXPECT_EQ(f4l->GetValue(), -1.0);
    d.put(0x1608, {0x3D, 0xCC, 0xCC, 0xCD});  // 0.1f
    EXPECT_EQ(f4b->GetValue(), static_cast<double>(0.1f));
    d.putLE(0x1610, 0x400921FB54442D18ULL, 8);  // pi
    EXPECT_EQ(f8l->GetValue(), 3.141592653589793);
    d.putBE(0x1618, 0xC000000000000000ULL, 8);  // -2.0
    EXPECT_EQ(f8b->GetValue(), -2.0);
}

TEST_F(Registers, StringRegStopsAtNulAndRejectsTooLongTexts) {
    CStringPtr label = d.node("Label");
    ASSERT_TRUE(label.IsValid());
    EXPECT_EQ(label->GetMaxLength(), 8);

    d.put(0x1700, std::string("abc\0xyz\0", 8));
    EXPECT_EQ(std::string(label->GetValue()), "abc");

    label->SetValue("hello");
    EXPECT_EQ(d.get(0x1700, 8), (Bytes{'h', 'e', 'l', 'l', 'o', 0, 0, 0}));
    EXPECT_EQ(std::string(label->GetValue()), "hello");

    EXPECT_THROW(label->SetValue("123456789"), OutOfRangeException);
    EXPECT_EQ(std::string(label->GetValue()), "hello");

    // A text that fills the register has no terminating zero.
    label->SetValue("12345678");
    EXPECT_EQ(std::string(label->GetValue()), "12345678");
    d.put(0x1708, "tail");
    EXPECT_EQ(std::string(label->GetValue()), "12345678");
}

TEST_F(Registers, RegisterReadsAndWritesRawBytes) {
    CRegisterPtr raw = d.node("Raw");
    ASSERT_TRUE(raw.IsValid());
    EXPECT_EQ(d.node("Raw")->GetPrincipalInterfaceType(), intfIRegister);
    EXPECT_EQ(raw->GetAddress(), 0x1800);
    EXPECT_EQ(raw->GetLength(), 4);

    d.put(0x1800, {0xDE, 0xAD, 0xBE, 0xEF});
    uint8_t buffer[4] = {};
    raw->Get(buffer, 4);
    EXPECT_EQ(Bytes(buffer, buffer + 4), (Bytes{0xDE, 0xAD, 0xBE, 0xEF}));
    EXPECT_EQ(std::string(raw->ToString()), "0xDEADBEEF");

    const uint8_t out[4] = {1, 2, 3, 4};
    raw->Set(out, 4);
    EXPECT_EQ(d.get(0x1800, 4), (Bytes{1, 2, 3, 4}));
    raw->FromString("0xA0B0C0D0");
    EXPECT_EQ(d.get(0x1800, 4), (Bytes{0xA0, 0xB0, 0xC0, 0xD0}));
    raw->Get(buffer, 4);
    EXPECT_EQ(Bytes(buffer, buffer + 4), (Bytes{0xA0, 0xB0, 0xC0, 0xD0}));
}

} // namespace
