// Register caches: when a read is answered from the cache, and which events
// (invalidation, writes of invalidators, writes of overlapping registers)
// make the next read go to the device again.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "fixture_device.h"

namespace {

using namespace GenApi;
using Bytes = std::vector<uint8_t>;

class Caching : public ::testing::Test {
protected:
    quillon_test::Device d{"caching.xml"};
    CIntegerPtr integer(const char* name) {
        CIntegerPtr p = d.node(name);
        EXPECT_TRUE(p.IsValid()) << name;
        return p;
    }
};

TEST_F(Caching, WriteThroughHidesDeviceChangesUntilInvalidated) {
    CIntegerPtr reg = integer("CachedReg");
    CIntegerPtr feature = integer("Cached");
    EXPECT_EQ(d.node("CachedReg")->GetCachingMode(), WriteThrough);
    EXPECT_TRUE(d.node("CachedReg")->IsCachable());

    d.putLE(0x2000, 5, 4);
    EXPECT_FALSE(reg->IsValueCacheValid());
    EXPECT_EQ(reg->GetValue(), 5);
    EXPECT_TRUE(reg->IsValueCacheValid());
    const uint64_t reads = d.port.ReadCount();

    d.putLE(0x2000, 7, 4);
    EXPECT_EQ(reg->GetValue(), 5);
    EXPECT_EQ(feature->GetValue(), 5);
    EXPECT_EQ(d.port.ReadCount(), reads);

    d.node("CachedReg")->InvalidateNode();
    EXPECT_FALSE(reg->IsValueCacheValid());
    EXPECT_EQ(feature->GetValue(), 7);
    EXPECT_EQ(reg->GetValue(), 7);
    EXPECT_EQ(d.port.ReadCount(), reads + 1);

    d.putLE(0x2000, 9, 4);
    EXPECT_EQ(reg->GetValue(), 7);
    d.map._Ptr()->InvalidateNodes();
    EXPECT_EQ(reg->GetValue(), 9);

    // Ignoring the cache reads the device without invalidating anything.
    d.putLE(0x2000, 11, 4);
    EXPECT_EQ(reg->GetValue(false, true), 11);
    EXPECT_EQ(reg->GetValue(), 11);

    // A written value is cached: reading it back costs no device read.
    feature->SetValue(13);
    const uint64_t afterWrite = d.port.ReadCount();
    EXPECT_EQ(reg->GetValue(), 13);
    EXPECT_EQ(feature->GetValue(), 13);
    EXPECT_EQ(d.port.ReadCount(), afterWrite);
    EXPECT_EQ(d.getLE(0x2000, 4), 13u);

    // Connecting a port again drops everything read through the old one.
    d.putLE(0x2000, 15, 4);
    EXPECT_TRUE(d.map._Connect(&d.port));
    EXPECT_EQ(reg->GetValue(), 15);
}

TEST_F(Caching, NoCacheReadsTheDeviceEveryTime) {
    CIntegerPtr reg = integer("UncachedReg");
    EXPECT_EQ(d.node("UncachedReg")->GetCachingMode(), NoCache);
    EXPECT_FALSE(d.node("UncachedReg")->IsCachable());

    d.putLE(0x2010, 1, 4);
    EXPECT_EQ(reg->GetValue(), 1);
    d.putLE(0x2010, 2, 4);
    const uint64_t reads = d.port.ReadCount();
    EXPECT_EQ(reg->GetValue(), 2);
    EXPECT_EQ(d.port.ReadCount(), reads + 1);
    EXPECT_FALSE(reg->IsValueCacheValid());

    reg->SetValue(3);
    d.putLE(0x2010, 4, 4);
    EXPECT_EQ(reg->GetValue(), 4);
}

TEST_F(Caching, WriteAroundCachesReadsButNotWrites) {
    CIntegerPtr reg = integer("WriteAroundReg");
    d.putLE(0x2018, 3, 4);
    EXPECT_EQ(reg->GetValue(), 3);
    d.putLE(0x2018, 4, 4);
    EXPECT_EQ(reg->GetValue(), 3);

    // After a write the device may hold something else than was written.
    reg->SetValue(5);
    EXPECT_FALSE(reg->IsValueCacheValid());
    d.putLE(0x2018, 6, 4);
    EXPECT_EQ(reg->GetValue(), 6);
}

TEST_F(Caching, WritingAnInvalidatorDropsTheCache) {
    CIntegerPtr status = integer("StatusReg");
    CIntegerPtr mode = integer("ModeReg");
    d.putLE(0x2030, 1, 4);
    EXPECT_EQ(status->GetValue(), 1);

    d.putLE(0x2030, 2, 4);
    mode->GetValue();  // reading the invalidator changes nothing
    EXPECT_EQ(status->GetValue(), 1);

    mode->SetValue(1);
    EXPECT_FALSE(status->IsValueCacheValid());
    EXPECT_EQ(status->GetValue(), 2);

    NodeList_t invalidators;
    d.node("StatusReg")->GetChildren(invalidators, ctInvalidatingChildren);
    ASSERT_EQ(invalidators.size(), 1u);
    EXPECT_EQ(invalidators[0], d.node("ModeReg"));
}

TEST_F(Caching, WritingOneBitFieldDropsTheCacheOfItsNeighbour) {
    CIntegerPtr low = integer("LowByte");
    CIntegerPtr high = integer("HighByte");
    d.put(0x2040, {0x11, 0x22, 0x00, 0x00});

    EXPECT_EQ(high->GetValue(), 0x22);
    EXPECT_TRUE(high->IsValueCacheValid());
    low->SetValue(0x33);
    EXPECT_FALSE(high->IsValueCacheValid());
    // The neighbour's read-modify-write must start from the new bytes, or
    // it would write the old low byte back.
    high->SetValue(0x44);
    EXPECT_EQ(d.get(0x2040, 4), (Bytes{0x33, 0x44, 0x00, 0x00}));
    EXPECT_EQ(low->GetValue(), 0x33);
    EXPECT_EQ(high->GetValue(), 0x44);
}

TEST_F(Caching, InvalidationReachesNodesDependingOnTheChangedOne) {
    CIntegerPtr width = integer("Width");
    CIntegerPtr binning = integer("Binning");
    d.putLE(0x2050, 1, 4);
    d.putLE(0x2060, 640, 4);
    EXPECT_EQ(width->GetValue(), 640);

    // Writing the feature whose register WidthReg's invalidator reads.
    d.putLE(0x2060, 320, 4);
    EXPECT_EQ(width->GetValue(), 640);
    binning->SetValue(2);
    EXPECT_EQ(width->GetValue(), 320);

    // Invalidating the invalidator itself.
    d.putLE(0x2060, 160, 4);
    EXPECT_EQ(width->GetValue(), 320);
    d.node("Binning")->InvalidateNode();
    EXPECT_EQ(width->GetValue(), 160);

    // Invalidating the register under the invalidator: Binning's value may
    // have changed, so whatever depends on Binning may have changed too.
    d.putLE(0x2060, 80, 4);
    EXPECT_EQ(width->GetValue(), 160);
    d.node("BinningReg")->InvalidateNode();
    EXPECT_EQ(width->GetValue(), 80);
}

// A write drops the cache of every register sharing bytes with it, wherever
// the two lie: across a 4 KiB boundary, inside a register of 128 KiB, at the
// address a selector moved a register to; and only theirs.
TEST(CachingOverlaps, WritesDropTheCachesOfTheRegistersTheyOverlap) {
    auto reg = [](const char* name, const char* address, int length, const char* extra = "") {
        return std::string("<IntReg Name=\"") + name + "\"><Address>" + address + "</Address><Length>" +
               std::to_string(length) + "</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>" + extra +
               "<Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>";
    };
    quillon_test::Device d(quillon_test::Device::Xml{quillon_test::inlineDescription(
        reg("Wide", "0x0FFC", 8) + reg("InWide", "0x1002", 1) + reg("Apart", "0x1008", 4) +
        "<Register Name=\"Long\"><Address>0x10000</Address><Length>131072</Length><AccessMode>RW</AccessMode>"
        "<pPort>Device</pPort></Register>" +
        reg("InLong", "0x2FFF0", 4) + reg("Sel", "0x50000", 4) +
        reg("Moved", "0x40000", 4, "<pIndex Offset=\"4096\">Sel</pIndex>") + reg("AtMoved", "0x41000", 2))});
    const struct {
        const char* read;
        const char* written;
        bool dropped;
    } rows[] = {
        {"Wide", "InWide", true}, {"InWide", "Wide", true},  {"Wide", "Apart", false},
        {"Long", "InLong", true}, {"InLong", "Long", true},  {"Moved", "AtMoved", true},
        {"Apart", "Moved", false},
    };
    d.integer("Sel")->SetValue(1); // Moved now lies at 0x41000
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.read) + " after a write of " + row.written);
        CValuePtr read = d.node(row.read);
        read->ToString();
        ASSERT_TRUE(read->IsValueCacheValid());
        CValuePtr written = d.node(row.written);
        written->FromString(written->ToString());
        EXPECT_EQ(!read->IsValueCacheValid(), row.dropped);
    }
}

} // namespace
