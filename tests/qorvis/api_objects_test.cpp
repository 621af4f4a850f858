// The library's objects: allocation, identifiers, object inquires, frees and
// the failures of each.
#include <gtest/gtest.h>

#include <set>

#include "GenApi/GenApi.h"
#include "qorvis.h"
#include "qorvis_api_support.h"

namespace {

using namespace qorvis_test;

int64_t objectInquire(QOR_ID id, int64_t type) {
    QOR_INT64 v = -1;
    QobjInquire(id, type, &v);
    return v;
}

class Objects : public QorvisTest {};

TEST_F(Objects, EveryKindAnswersItsTypeOwnerAndGenericIdentifier) {
    QOR_ID thread = 0;
    QthrAlloc(sys, [](void*) -> QOR_INT { return 0; }, nullptr, &thread);
    ASSERT_NE(thread, 0);
    struct Expect {
        QOR_ID id;
        int64_t type;
        QOR_ID owner;
    };
    for (const Expect& e : {Expect{app, Q_APPLICATION_OBJECT, 0}, Expect{sys, Q_SYSTEM_OBJECT, sys},
                            Expect{dig, Q_DIGITIZER_OBJECT, sys}, Expect{seq, Q_SEQUENCE_OBJECT, sys},
                            Expect{thread, Q_THREAD_OBJECT, sys}}) {
        SCOPED_TRACE(e.id);
        EXPECT_EQ(objectInquire(e.id, Q_OBJECT_TYPE), e.type);
        EXPECT_EQ(objectInquire(e.id, Q_OWNER_SYSTEM), e.owner);
        EXPECT_EQ(QobjInquire(e.id, Q_OWNER_SYSTEM, nullptr), e.owner) << "the answer is also returned";
        int64_t generic = objectInquire(e.id, Q_OBJECT_GENERIC);
        EXPECT_NE(generic, 0);
        EXPECT_NE(generic, e.id);
    }
    EXPECT_EQ(objectInquire(Q_DEFAULT_APPLICATION, Q_OBJECT_TYPE), Q_APPLICATION_OBJECT);
    // Class-4 inquires of the kinds themselves agree with the object inquire.
    EXPECT_EQ(inquireSys(sys, Q_OWNER_SYSTEM), sys);
    EXPECT_EQ(inquireDig(dig, Q_OWNER_SYSTEM), sys);
    EXPECT_EQ(inquireSeq(seq, Q_OWNER_SYSTEM), sys);
    QthrFree(thread);
    EXPECT_NO_PENDING_ERROR();
}

TEST_F(Objects, IdentifiersAreNonZeroDistinctAndNeverReused) {
    std::set<QOR_ID> seen = {app, sys, dig, seq};
    std::set<int64_t> generics;
    for (QOR_ID id : seen) generics.insert(objectInquire(id, Q_OBJECT_GENERIC));
    EXPECT_EQ(seen.size(), 4u);
    EXPECT_EQ(generics.size(), 4u);
    EXPECT_EQ(seen.count(0), 0u);
    for (int i = 0; i < 5; ++i) {
        QOR_ID d = 0;
        QOR_ID returned = QdigAlloc(sys, 1, QOR_TEXT(""), Q_DEFAULT, &d);
        EXPECT_EQ(returned, d);
        EXPECT_TRUE(seen.insert(d).second) << "identifier " << d << " reused";
        QdigFree(d);
    }
    EXPECT_NO_PENDING_ERROR();
}

TEST_F(Objects, FreedAndUnknownIdentifiersFailWithTheFunctionsName) {
    QOR_ID d = 0;
    QdigAlloc(sys, 2, QOR_TEXT(""), Q_DEFAULT, &d);
    QdigFree(d);
    QOR_INT64 value = 77;
    EXPECT_EQ(QdigInquire(d, Q_DIG_GRAB_TIMEOUT, &value), 0);
    EXPECT_EQ(value, 77) << "a failure leaves the output alone";
    EXPECT_PENDING_ERROR("QdigInquire", Q_ERR_INVALID_IDENTIFIER, "Invalid object identifier.",
                         "Identifier " + std::to_string(d) + " names no allocated object.");
    QdigFree(d);
    EXPECT_PENDING_ERROR("QdigFree", Q_ERR_INVALID_IDENTIFIER, "Invalid object identifier.");
    QdigControl(0, Q_DIG_GRAB_TIMEOUT, 10);
    EXPECT_PENDING_ERROR("QdigControl", Q_ERR_INVALID_IDENTIFIER, "Invalid object identifier.");
    // An identifier of another kind is just as invalid.
    QdigInquire(sys, Q_DIG_GRAB_TIMEOUT, &value);
    EXPECT_PENDING_ERROR("QdigInquire", Q_ERR_INVALID_IDENTIFIER, "Invalid object identifier.",
                         "Identifier " + std::to_string(sys) + " names a system, not a digitizer.");
    QsysInquire(dig, Q_SYSTEM_TYPE, &value);
    EXPECT_PENDING_ERROR("QsysInquire", Q_ERR_INVALID_IDENTIFIER, "Invalid object identifier.");
    QseqControlInt64(dig, Q_SEQ_BUFFER_COUNT, 2);
    EXPECT_PENDING_ERROR("QseqControlInt64", Q_ERR_INVALID_IDENTIFIER, "Invalid object identifier.");
    QobjInquire(123456789, Q_OBJECT_TYPE, &value);
    EXPECT_PENDING_ERROR("QobjInquire", Q_ERR_INVALID_IDENTIFIER, "Invalid object identifier.");
    QobjInquire(dig, 4242, &value);
    EXPECT_PENDING_ERROR("QobjInquire", Q_ERR_INVALID_CONTROL_TYPE, "Invalid inquire type.");
    EXPECT_EQ(value, 77);
}

TEST_F(Objects, SystemDescriptorsAndNumbers) {
    QOR_ID s = 0;
    for (const char* descriptor : {"Q_SYSTEM_SIMULATED", "", static_cast<const char*>(nullptr)}) {
        s = 0;
        QsysAlloc(Q_DEFAULT_APPLICATION, descriptor, Q_DEFAULT, Q_DEFAULT, &s);
        EXPECT_NE(s, 0) << (descriptor ? descriptor : "NULL");
        EXPECT_EQ(inquireSys(s, Q_SYSTEM_TYPE), Q_SYSTEM_TYPE_SIMULATED);
        EXPECT_EQ(inquireSys(s, Q_SYSTEM_SUBTYPE), 0);
        EXPECT_EQ(inquireSys(s, Q_SYS_SYSTEM_NUMBER), 0) << "Q_DEFAULT is system 0";
        QsysFree(s);
    }
    EXPECT_NO_PENDING_ERROR();

    s = 55;
    EXPECT_EQ(QsysAlloc(app, QOR_TEXT("Q_SYSTEM_GIGE_VISION"), 0, Q_DEFAULT, &s), 0);
    EXPECT_EQ(s, 55);
    EXPECT_PENDING_ERROR(
        "QsysAlloc", Q_ERR_INVALID_PARAMETER, "Invalid system descriptor.",
        "\"Q_SYSTEM_GIGE_VISION\" names no system; this library provides Q_SYSTEM_SIMULATED and "
        "Q_SYSTEM_CAMERAS.");
    QsysAlloc(app, Q_SYSTEM_SIMULATED, 4, Q_DEFAULT, &s);
    EXPECT_PENDING_ERROR("QsysAlloc", Q_ERR_OUT_OF_RANGE, "Invalid system number.", "System number 4 is outside 0 to 3.");
    QsysAlloc(app + 1000, Q_SYSTEM_SIMULATED, 0, Q_DEFAULT, &s);
    EXPECT_PENDING_ERROR("QsysAlloc", Q_ERR_INVALID_IDENTIFIER, "Invalid object identifier.");

    QsysAlloc(app, Q_SYSTEM_SIMULATED, 3, Q_DEFAULT, &s);
    EXPECT_EQ(inquireSys(s, Q_SYS_SYSTEM_NUMBER), 3);
    EXPECT_EQ(qorvis_test::inquireText(QsysInquire, s, Q_SYS_SERIAL_NUMBER), "QS4-104203");
    QsysFree(s);
    EXPECT_NO_PENDING_ERROR();
}

TEST_F(Objects, DigitizersCarryTheirOwnCameraAndNodeMap) {
    QOR_ID second = 0;
    QdigAlloc(sys, 3, QOR_TEXT("RS170"), Q_DEFAULT, &second);
    ASSERT_NE(second, 0);
    auto mapOf = [](QOR_ID d) {
        QOR_INT64 pointer = 0;
        QdigInquire(d, Q_GC_NODE_MAP, &pointer);
        return reinterpret_cast<GenApi::INodeMap*>(pointer);
    };
    GenApi::INodeMap* first = mapOf(dig);
    GenApi::INodeMap* other = mapOf(second);
    ASSERT_NE(first, nullptr);
    ASSERT_NE(other, nullptr);
    EXPECT_NE(first, other);
    // Each map is connected to its own camera: a write through one does not show in the other.
    GenApi::CIntegerPtr width1 = first->GetNode("Width"), width2 = other->GetNode("Width");
    width1->SetValue(640);
    EXPECT_EQ(width1->GetValue(), 640);
    EXPECT_EQ(width2->GetValue(), 1280);
    EXPECT_EQ(inquireDig(dig, Q_DIG_SIZE_X), 640) << "the digitizer follows its camera";
    EXPECT_EQ(inquireDig(second, Q_DIG_SIZE_X), 1280);
    EXPECT_EQ(inquireDig(second, Q_DIG_DEVICE_NUMBER), 3);
    EXPECT_EQ(inquireText(QdigInquire, second, Q_DIG_FORMAT), "RS170");
    EXPECT_EQ(inquireText(QdigInquire, dig, Q_DIG_FORMAT), "DEFAULT");

    QOR_ID d = 0;
    QdigAlloc(sys, 4, QOR_TEXT(""), Q_DEFAULT, &d);
    EXPECT_PENDING_ERROR("QdigAlloc", Q_ERR_OUT_OF_RANGE, "Invalid device number.", "Device number 4 is outside 0 to 3.");
    QdigAlloc(dig, 0, QOR_TEXT(""), Q_DEFAULT, &d);
    EXPECT_PENDING_ERROR("QdigAlloc", Q_ERR_INVALID_IDENTIFIER, "Invalid object identifier.");
    EXPECT_EQ(d, 0);
    QdigFree(second);
    EXPECT_NO_PENDING_ERROR();
}

TEST_F(Objects, SequencesTellTheirDescriptionFormAndCountsFollowAllocation) {
    QOR_ID generic = 0;
    QseqAlloc(sys, Q_DEFAULT, 0, Q_DEFAULT, &generic);
    EXPECT_EQ(inquireSeq(seq, Q_SEQUENCE_FORMAT) & Q_SEQUENCE_BOARD_SPECIFIC, Q_SEQUENCE_BOARD_SPECIFIC);
    EXPECT_EQ(inquireSeq(generic, Q_SEQUENCE_FORMAT) & Q_SEQUENCE_BOARD_SPECIFIC, 0);
    EXPECT_EQ(inquireSys(sys, Q_SYS_SEQUENCE_COUNT), 2);
    EXPECT_EQ(inquireSys(sys, Q_SYS_DIGITIZER_COUNT), 1);
    QseqFree(generic);
    EXPECT_EQ(inquireSys(sys, Q_SYS_SEQUENCE_COUNT), 1);
    QOR_INT64 n = 0;
    QappInquire(Q_DEFAULT_APPLICATION, Q_APP_SYSTEM_COUNT, &n);
    EXPECT_EQ(n, 1);
    QappInquire(Q_DEFAULT_APPLICATION, Q_APP_OBJECT_COUNT, &n);
    EXPECT_EQ(n, 4) << "application, system, digitizer, sequence";
    EXPECT_NO_PENDING_ERROR();
}

TEST_F(Objects, FreeingASystemFreesItsDigitizersAndSequences) {
    QsysFree(sys);
    QOR_INT64 v = 0;
    QdigInquire(dig, Q_DIG_GRAB_TIMEOUT, &v);
    EXPECT_PENDING_ERROR("QdigInquire", Q_ERR_INVALID_IDENTIFIER, "Invalid object identifier.");
    QseqInquire(seq, Q_SEQ_BUFFER_COUNT, &v);
    EXPECT_PENDING_ERROR("QseqInquire", Q_ERR_INVALID_IDENTIFIER, "Invalid object identifier.");
    sys = 0;
}

TEST_F(Objects, OneApplicationAtATime) {
    QOR_ID second = 0;
    EXPECT_EQ(QappAlloc(QOR_TEXT(""), &second), 0);
    EXPECT_EQ(second, 0);
    EXPECT_PENDING_ERROR("QappAlloc", Q_ERR_ALLOCATION, "An application is already allocated.");
    EXPECT_EQ(inquireText([](QOR_ID a, QOR_INT64 t, void* p) { return QappInquire(a, t, p); }, app, Q_APP_INIT_FLAGS),
              "tests");
    QappFree(app);
    QappFree(app);
    EXPECT_PENDING_ERROR("QappFree", Q_ERR_INVALID_IDENTIFIER, "Invalid object identifier.");
    // Systems live on without an application; a new one starts with the default settings.
    EXPECT_EQ(inquireSys(sys, Q_SYSTEM_TYPE), Q_SYSTEM_TYPE_SIMULATED);
    QOR_ID again = 0;
    ASSERT_NE(QappAlloc(nullptr, &again), 0);
    EXPECT_NE(again, app);
    QOR_INT64 print = -1;
    QappInquire(again, Q_ERROR_PRINT, &print);
    EXPECT_EQ(print, Q_PRINT_ENABLE);
    QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, Q_PRINT_DISABLE);
    QappInquire(app, Q_ERROR_PRINT, &print);
    EXPECT_PENDING_ERROR("QappInquire", Q_ERR_INVALID_IDENTIFIER, "Invalid object identifier.");
    app = again;
}

} // namespace
