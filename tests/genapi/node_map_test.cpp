// The node map around the values: access modes, register caches, callbacks
// and polling, the feature tree, selectors, texts, properties and links.
// Scenario steps: see Device::play.
#include <gtest/gtest.h>

#include <future>
#include <map>

#include "engine_support.h"

namespace {

using namespace GenApi;
using quillon_test::Device;

// Clients store and compare these numbers.
static_assert(NI == 0 && NA == 1 && WO == 2 && RO == 3 && RW == 4);

// Predicates, locks, imposed modes and a register's mode up its pValue chain
// restrict a node; what a mode forbids raises and leaves the device alone.
TEST(NodeMap, AccessModesFollowPredicatesLocksAndRegisters) {
    Device d("access_modes.xml");
    d.play(R"(
        Plain.mode?RW Unimplemented.mode?NI Unavailable.mode?NA
        NeitherImplementedNorAvailable.mode?NI Unimplemented?!Access Unimplemented=1!Access
        Unavailable?!Access Unavailable=1!Access @0x3004?0000000000000000 ImplementedFlag=1
        Unimplemented.mode?RW NeitherImplementedNorAvailable.mode?NA AvailableFlag=1
        Unavailable.mode?RW NeitherImplementedNorAvailable.mode?RW Unavailable=9 @0x3008?09000000
        Lockable.mode?RO @0x3010=15000000 Lockable?21 Lockable=22!Access @0x3010?15000000 LockFlag=0
        Lockable.mode?RW Lockable=22 @0x3010?16000000 ImposedReadOnly.mode?RO
        ImposedReadOnly=1!Access @0x3014?00000000 Plain.impose(RO) Plain.mode?RO Plain=1!Access
        Plain.impose(NA) Plain.mode?NA Plain.impose(RW) Plain.mode?RW ReadOnlyReg.impose(RW)
        ReadOnlyReg.mode?RO ReadOnlyFeature.mode?RO ReadOnlyAlias.mode?RO @0x3018=4D000000
        ReadOnlyAlias?77 ReadOnlyAlias=1!Access ReadOnlyFeature=1!Access ReadOnlyReg=1!Access
        @0x3018?4D000000 ReadOnlyReg.impose(WO) ReadOnlyReg.mode?NA WriteOnlyReg.mode?WO
        WriteOnlyFeature.mode?WO WriteOnlyReg?!Access WriteOnlyFeature?!Access WriteOnlyFeature=5
        @0x301C?05000000 OnSpare.mode?NA OnSpare?!Access
    )");
    CMemoryPort spare;
    spare.Write("\x2A\0\0\0", 0, 4);
    spare.Write(nullptr, 0, 0); // a zero length moves nothing, a negative one raises
    spare.Read(nullptr, 0, 0);
    quillon_test::raised([&] { spare.Read(nullptr, 0, -1); });
    EXPECT_TRUE(d.map._Connect(&spare, "SparePort"));
    EXPECT_FALSE(d.map._Connect(&spare, "Plain")) << "no port";
    d.play("OnSpare.mode?RW OnSpare?42");
}

// Without a port no register is available, nor anything over one.
TEST(NodeMap, NothingOnAnUnconnectedPortIsAvailable) {
    const struct {
        const char *description, *node, *mode;
    } rows[] = {
        {"access_modes.xml", "Plain", "NA"},         {"access_modes.xml", "ReadOnlyAlias", "NA"},
        {"access_modes.xml", "Unimplemented", "NI"}, {"rare_nodes.xml", "ConfigRom", "NA"},
        {"rare_nodes.xml", "VendorId", "NA"},        {"rare_nodes.xml", "VendorText", "NA"},
    };
    for (const auto& row : rows) {
        CNodeMapRef map;
        map._LoadXMLFromFile(quillon_test::fixturePath(row.description).c_str());
        EXPECT_EQ(quillon_test::fact(map._GetNode(row.node), "mode"), row.mode) << row.node;
    }
    Device d(quillon_test_support::Description(
        "<IntReg Name=\"Loose\"><Address>0</Address><Length>4</Length><AccessMode>RW</AccessMode>"
        "</IntReg><Integer Name=\"OverLoose\"><pValue>Loose</pValue></Integer>"));
    d.play("Loose.mode?NA OverLoose.mode?NA Loose?!Access OverLoose=1!Access");
}

// WriteThrough caches reads and writes, WriteAround only reads, NoCache
// nothing; an invalidation, a write of an invalidator or of an overlapping
// register, a new port drop the cache, and reach what depends on it.
TEST(NodeMap, RegisterCachesAnswerUntilInvalidated) {
    Device d("caching.xml");
    d.play(R"(
        CachedReg.cached?0 @0x2000=05000000 CachedReg?5 CachedReg.cached?1 @0x2000=07000000
        CachedReg?5 Cached?5 CachedHalf.f?2.5 CachedDouble?10 CachedReg.invalidate()
        CachedReg.cached?0 Cached?7 CachedReg?7 CachedHalf.f?3.5 @0x2000=09000000 CachedReg?7
        *.invalidate() CachedReg?9 Cached=13 CachedReg.cached?1 @0x2000?0D000000 @0x2000=0F000000
        CachedReg?13 UncachedReg.cached?0 @0x2010=01000000 UncachedReg?1 @0x2010=02000000
        UncachedReg?2 UncachedReg.cached?0 UncachedReg=3 @0x2010=04000000 UncachedReg?4
        @0x2018=03000000 WriteAroundReg?3 @0x2018=04000000 WriteAroundReg?3 WriteAroundReg=5
        WriteAroundReg.cached?0 @0x2018=06000000 WriteAroundReg?6 @0x2030=01000000 StatusReg?1
        @0x2030=02000000 ModeReg?0 StatusReg?1 ModeReg=1 StatusReg.cached?0 StatusReg?2
        StatusReg.invalidators?ModeReg @0x2040=11220000 HighByte?34 LowBit?1 HighByte.cached?1 LowByte=51
        HighByte.cached?0 HighByte=68 @0x2040?33440000 LowByte?51 HighByte?68 @0x2050=01000000
        @0x2060=80020000 Width?640 @0x2060=40010000 Width?640 Binning=2 Width?320 @0x2060=A0000000
        Width?320 Binning.invalidate() Width?160 @0x2060=50000000 Width?160 BinningReg.invalidate()
        Width?80 @0x2000=0B000000 CachedReg?13
    )");
    EXPECT_EQ(CIntegerPtr(d.node("CachedReg"))->GetValue(false, true), 11) << "the cache ignored";
    d.play("@0x2000=0C000000 CachedReg?11");
    EXPECT_TRUE(d.map._Connect(&d.port));
    d.play("CachedReg?12");
}

// Registers sharing bytes (across 4 KiB blocks, inside one of 128 KiB, where
// a selector moved one): a write of one drops the other's cache, only theirs.
TEST(NodeMap, WritesDropTheCachesOfTheRegistersTheyOverlap) {
    auto reg = [](const char* name, const char* address, int length, const char* extra = "") {
        return std::string("<IntReg Name=\"") + name + "\"><Address>" + address +
               "</Address><Length>" + std::to_string(length) +
               "</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>" + extra + "</IntReg>";
    };
    Device d(quillon_test_support::Description(
        reg("Wide", "0x0FFC", 8) + reg("InWide", "0x1002", 1) + reg("Apart", "0x1008", 4) +
        "<Register Name=\"Long\"><Address>0x10000</Address><Length>131072</Length>"
        "<AccessMode>RW</AccessMode><pPort>Device</pPort></Register>" +
        reg("InLong", "0x2FFF0", 4) + reg("Sel", "0x50000", 4) +
        reg("Moved", "0x40000", 4, "<pIndex Offset=\"4096\">Sel</pIndex>") +
        reg("AtMoved", "0x41000", 2)));
    const struct {
        const char *read, *written;
        bool dropped;
    } rows[] = {
        {"Wide", "InWide", true},  {"InWide", "Wide", true}, {"Wide", "Apart", false},
        {"Long", "InLong", true},  {"InLong", "Long", true}, {"Moved", "AtMoved", true},
        {"Apart", "Moved", false},
    };
    d.play("Sel=1"); // Moved now lies at 0x41000
    for (const auto& row : rows) {
        CValuePtr read = d.node(row.read), written = d.node(row.written);
        read->ToString();
        EXPECT_TRUE(read->IsValueCacheValid());
        written->FromString(written->ToString());
        EXPECT_EQ(!read->IsValueCacheValid(), row.dropped) << row.read << " after " << row.written;
    }
}

// A write calls back the node and what is computed from it, once; an
// invalidation and a due poll call back too; inside-lock callbacks hold
// the lock (another thread cannot take it), outside-lock ones do not;
// deregistered ones stay silent.
TEST(NodeMap, CallbacksFollowWritesInvalidationsAndPolls) {
    Device d("live.xml");
    std::map<std::string, int> count;
    std::map<std::string, bool> lockFree;
    auto record = [&](INode* n) {
        ++count[std::string(n->GetName())];
        lockFree[std::string(n->GetName())] = std::async(std::launch::async, [&] {
                                                  bool got = d.map._Ptr()->GetLock().try_lock();
                                                  if (got) d.map._Ptr()->GetLock().unlock();
                                                  return got;
                                              }).get();
    };
    std::vector<std::pair<INode*, CallbackHandleType>> handles;
    for (const char* name :
         {"Reg", "Value", "Twice", "Other", "Cached", "Temperature", "Counter", "Start"})
        handles.emplace_back(
            d.node(name),
            Register(d.node(name), record, name[0] == 'T' ? cbPostOutsideLock : cbPostInsideLock));
    auto calls = [&](std::map<std::string, int> expected) {
        for (auto& [name, n] : expected)
            EXPECT_EQ(count[name], n) << name;
    };
    d.play("Value=21 Twice?42");
    calls({{"Value", 1}, {"Reg", 1}, {"Twice", 1}, {"Other", 0}, {"Cached", 0}});
    EXPECT_FALSE(lockFree["Value"]);
    EXPECT_TRUE(lockFree["Twice"]);
    d.play("Other=6"); // an invalidator
    calls({{"Other", 1}, {"Cached", 1}, {"Value", 1}});
    d.play("@0x10=07000000 Value?21 Value.invalidate() Value?7");
    calls({{"Value", 2}, {"Twice", 2}});

    // Ten polls of 100 ms: the 100 ms node is due ten times, the 250 ms one
    // four; a long gap makes a node due once.
    d.play("Temperature?0 @0x30=37000000 *.poll(60) Temperature?0");
    calls({{"Temperature", 0}});
    d.play("*.poll(40) Temperature?55");
    calls({{"Temperature", 1}});
    for (int i = 0; i < 10; ++i)
        d.map._Ptr()->Poll(100);
    calls({{"Temperature", 11}, {"Counter", 4}, {"Value", 2}});
    d.play("*.poll(1000)");
    calls({{"Temperature", 12}});

    // A command's completion is reported once, when the device clears it.
    d.play("Start.done?1 Start.execute() @0x40?01000000 Start.done?0 Start.done?0");
    int before = count["Start"];
    d.play("@0x40=00000000 Start.done?1 Start.done?1");
    calls({{"Start", before + 1}});
    // Invalidated twice under one hold of the lock: each node is told once.
    d.map._Ptr()->GetLock().lock();
    d.map._Ptr()->InvalidateNodes();
    d.map._Ptr()->InvalidateNodes();
    d.map._Ptr()->GetLock().unlock();
    calls({{"Value", 3}, {"Reg", 2}});

    for (auto& [node, handle] : handles)
        EXPECT_TRUE(node->DeregisterCallback(handle));
    EXPECT_FALSE(handles[0].first->DeregisterCallback(handles[0].second));
    d.play("Value=3");
    calls({{"Value", 3}});
}

// Root's tree marks features; selectors and selected features know each
// other; texts and raw property texts come back as the description wrote
// them; links run both ways: a node's parents are the nodes that link to it
// by any property (reading, invalidating, selecting, aliasing), in map order.
TEST(NodeMap, FeatureTreeSelectorsTextsAndLinks) {
    Device d("categories.xml");
    d.play(R"(
        Root.type?8 Root.features?ImageFormat,AnalogControl ImageFormat.features?Width,Height
        AnalogControl.features?GainSelector,Gain,BlackLevel ImageFormat.feature?1
        AnalogControl.feature?1 Width.feature?1 Height.feature?1 GainSelector.feature?1
        Gain.feature?1 BlackLevel.feature?1 Detached.feature?0 Hidden.feature?0 WidthReg.feature?0
        WidthMax.feature?0 Device.feature?0 GainSelector.selected?Gain,BlackLevel
        Gain.selecting?GainSelector BlackLevel.selecting?GainSelector Width.selected?
        Width.selecting? GainSelector.children? 'ImageFormat.display?Image Format Control'
        'ImageFormat.tooltip?Image size and format'
        'ImageFormat.descr?Features that decide the size and format of the images.'
        Width.display?Width 'Width.tooltip?Width of the image' Gain.tooltip?
        'Gain.descr?Amplification of the selected channel.' Width.vis?1 Hidden.vis?3 Gain.vis?0
        Width.url?http://example.com/width Width.ns?1 WidthReg.ns?0 Width.unit?px
        Width.prop:Min?0x10 Width.prop:pValue?WidthReg Width.prop:Visibility?Expert
        'Hidden.prop:VendorNote?kept as text[Lang=en]' Width.children?WidthReg,WidthMax
        Width.writing?WidthReg WidthReg.parents?Width WidthMax.parents?Width
        WidthReg.children?Device HeightReg.children?Device HeightReg.invalidators?Width
        Root.children?ImageFormat,AnalogControl Device.parents?WidthReg,HeightReg
        BlackLevel.children? Width.parents?ImageFormat,HeightReg
        Gain.parents?AnalogControl,GainSelector BlackLevel.parents?AnalogControl,GainSelector,Hidden
        Height.parents?ImageFormat,Hidden
    )");
    EXPECT_TRUE(CSelectorPtr(d.node("GainSelector"))->IsSelector());
    EXPECT_FALSE(CSelectorPtr(d.node("Gain"))->IsSelector());
    EXPECT_EQ(quillon_test::fact(d.node("ImageFormat"), "prop:pFeature"), "Width\tHeight[\t]");
    EXPECT_EQ(std::string(d.node("Width")->GetName(true)), "Device::Width");
    EXPECT_EQ(d.node("Width")->GetNodeMap(), d.map._Ptr());
    gcstring_vector names;
    d.node("Width")->GetPropertyNames(names);
    for (const char* p :
         {"ToolTip", "Visibility", "DocuURL", "pValue", "Min", "pMax", "Inc", "Unit"})
        EXPECT_NE(std::find(names.begin(), names.end(), gcstring(p)), names.end()) << p;
    gcstring value = "stale", attributes = "stale";
    EXPECT_FALSE(d.node("Width")->GetProperty("Max", value, attributes));
    EXPECT_EQ(value + attributes, "");
}

} // namespace
