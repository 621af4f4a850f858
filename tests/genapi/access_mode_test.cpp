// Access modes: the predicates, locks and imposed modes that restrict a node,
// modes passed up through pValue chains, and what reading or writing a node
// that does not allow it raises.
#include <gtest/gtest.h>

#include <cstdint>

#include "fixture_device.h"

namespace {

using namespace GenApi;
using GenICam::AccessException;

// Clients store and compare these numbers.
static_assert(NI == 0 && NA == 1 && WO == 2 && RO == 3 && RW == 4);

class AccessModes : public ::testing::Test {
protected:
    quillon_test::Device d{"access_modes.xml"};
    CIntegerPtr integer(const char* name) {
        CIntegerPtr p = d.node(name);
        EXPECT_TRUE(p.IsValid()) << name;
        return p;
    }
    EAccessMode mode(const char* name) { return d.node(name)->GetAccessMode(); }
};

TEST_F(AccessModes, PredicatesDecideImplementedAndAvailable) {
    EXPECT_EQ(mode("Plain"), RW);
    EXPECT_EQ(mode("Unimplemented"), NI);
    EXPECT_EQ(mode("Unavailable"), NA);
    EXPECT_EQ(mode("NeitherImplementedNorAvailable"), NI);

    EXPECT_THROW(integer("Unimplemented")->GetValue(), AccessException);
    EXPECT_THROW(integer("Unimplemented")->SetValue(1), AccessException);
    EXPECT_THROW(integer("Unavailable")->GetValue(), AccessException);
    EXPECT_THROW(integer("Unavailable")->SetValue(1), AccessException);
    EXPECT_EQ(d.port.WriteCount(), 0u);

    integer("ImplementedFlag")->SetValue(1);
    EXPECT_EQ(mode("Unimplemented"), RW);
    EXPECT_EQ(mode("NeitherImplementedNorAvailable"), NA);
    integer("AvailableFlag")->SetValue(1);
    EXPECT_EQ(mode("Unavailable"), RW);
    EXPECT_EQ(mode("NeitherImplementedNorAvailable"), RW);
    integer("Unavailable")->SetValue(9);
    EXPECT_EQ(d.getLE(0x3008, 4), 9u);
}

TEST_F(AccessModes, LockMakesReadWriteNodesReadOnly) {
    CIntegerPtr lockable = integer("Lockable");
    EXPECT_EQ(mode("Lockable"), RO);
    d.putLE(0x3010, 21, 4);
    EXPECT_EQ(lockable->GetValue(), 21);
    EXPECT_THROW(lockable->SetValue(22), AccessException);
    EXPECT_EQ(d.getLE(0x3010, 4), 21u);

    integer("LockFlag")->SetValue(0);
    EXPECT_EQ(mode("Lockable"), RW);
    lockable->SetValue(22);
    EXPECT_EQ(d.getLE(0x3010, 4), 22u);
}

TEST_F(AccessModes, ImposedModeRestrictsTheRegisterMode) {
    EXPECT_EQ(mode("ImposedReadOnly"), RO);
    EXPECT_THROW(integer("ImposedReadOnly")->SetValue(1), AccessException);
    EXPECT_EQ(d.port.WriteCount(), 0u);

    // Imposing at run time narrows, and imposing RW gives the register's mode back.
    d.node("Plain")->ImposeAccessMode(RO);
    EXPECT_EQ(mode("Plain"), RO);
    EXPECT_THROW(integer("Plain")->SetValue(1), AccessException);
    d.node("Plain")->ImposeAccessMode(NA);
    EXPECT_EQ(mode("Plain"), NA);
    d.node("Plain")->ImposeAccessMode(RW);
    EXPECT_EQ(mode("Plain"), RW);
    // Imposing RW never widens a read-only register.
    d.node("ReadOnlyReg")->ImposeAccessMode(RW);
    EXPECT_EQ(mode("ReadOnlyReg"), RO);
    // A read-only register made write-only leaves nothing.
    d.node("ReadOnlyReg")->ImposeAccessMode(WO);
    EXPECT_EQ(mode("ReadOnlyReg"), NA);
}

TEST_F(AccessModes, ReadOnlyRegisterMakesItsPValueChainReadOnly) {
    EXPECT_EQ(mode("ReadOnlyReg"), RO);
    EXPECT_EQ(mode("ReadOnlyFeature"), RO);
    EXPECT_EQ(mode("ReadOnlyAlias"), RO);

    d.putLE(0x3018, 77, 4);
    const uint64_t writes = d.port.WriteCount();
    EXPECT_EQ(integer("ReadOnlyAlias")->GetValue(), 77);
    EXPECT_THROW(integer("ReadOnlyAlias")->SetValue(1), AccessException);
    EXPECT_THROW(integer("ReadOnlyFeature")->FromString("1"), AccessException);
    EXPECT_THROW(integer("ReadOnlyReg")->SetValue(1), AccessException);
    EXPECT_EQ(d.port.WriteCount(), writes);
}

TEST_F(AccessModes, WriteOnlyNodesCannotBeRead) {
    EXPECT_EQ(mode("WriteOnlyReg"), WO);
    EXPECT_EQ(mode("WriteOnlyFeature"), WO);
    const uint64_t reads = d.port.ReadCount();
    EXPECT_THROW(integer("WriteOnlyReg")->GetValue(), AccessException);
    EXPECT_THROW(integer("WriteOnlyFeature")->GetValue(), AccessException);
    EXPECT_THROW(integer("WriteOnlyFeature")->ToString(), AccessException);
    EXPECT_EQ(d.port.ReadCount(), reads);

    integer("WriteOnlyFeature")->SetValue(5);
    EXPECT_EQ(d.getLE(0x301C, 4), 5u);
}

TEST_F(AccessModes, RegistersOnUnconnectedPortsAreNotAvailable) {
    EXPECT_EQ(mode("OnSpare"), NA);
    EXPECT_THROW(integer("OnSpare")->GetValue(), AccessException);

    CMemoryPort spare;
    spare.Write("\x2A\0\0\0", 0, 4);
    EXPECT_TRUE(d.map._Connect(&spare, "SparePort"));
    EXPECT_EQ(mode("OnSpare"), RW);
    EXPECT_EQ(integer("OnSpare")->GetValue(), 42);
    // Connecting to a name that is no port fails.
    EXPECT_FALSE(d.map._Connect(&spare, "Plain"));

    CNodeMapRef unconnected;
    unconnected._LoadXMLFromFile(quillon_test::fixturePath("access_modes.xml").c_str());
    EXPECT_EQ(unconnected._GetNode("Plain")->GetAccessMode(), NA);
    EXPECT_EQ(unconnected._GetNode("ReadOnlyAlias")->GetAccessMode(), NA);
    // Predicates that need no device still hold.
    EXPECT_EQ(unconnected._GetNode("Unimplemented")->GetAccessMode(), NI);
}

TEST(AccessModesInline, RegisterWithoutPPortIsNotAvailable) {
    quillon_test::Device d(quillon_test::Device::Xml{quillon_test::inlineDescription(
        "<IntReg Name=\"Loose\"><Address>0</Address><Length>4</Length><AccessMode>RW</AccessMode></IntReg>"
        "<Integer Name=\"OverLoose\"><pValue>Loose</pValue></Integer>")});
    EXPECT_EQ(d.node("Loose")->GetAccessMode(), NA);
    EXPECT_EQ(d.node("OverLoose")->GetAccessMode(), NA);
    EXPECT_THROW(CIntegerPtr(d.node("Loose"))->GetValue(), AccessException);
    EXPECT_THROW(CIntegerPtr(d.node("OverLoose"))->SetValue(1), AccessException);
}

} // namespace
