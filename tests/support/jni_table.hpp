// The function-table entries of JNINativeInterface_ that FaultEnv forwards, as X-macro lists.
// The "..." forms are left out: the library never calls them, and their slots stay NULL in the
// fake table, so reaching one crashes the test instead of handing the fake env to the JVM.
#pragma once

#include <jni.h>

#include <cstddef>

// clang-format off
#define VEN_TEST_JNI_CALLS(E, T) \
    E(Call##T##MethodV) E(Call##T##MethodA) E(CallNonvirtual##T##MethodV) \
    E(CallNonvirtual##T##MethodA) E(CallStatic##T##MethodV) E(CallStatic##T##MethodA)
#define VEN_TEST_JNI_FIELDS(E, T) \
    VEN_TEST_JNI_CALLS(E, T) E(Get##T##Field) E(Set##T##Field) E(GetStatic##T##Field) E(SetStatic##T##Field)
#define VEN_TEST_JNI_PRIMITIVE(E, T) \
    VEN_TEST_JNI_FIELDS(E, T) E(New##T##Array) E(Get##T##ArrayElements) E(Release##T##ArrayElements) \
    E(Get##T##ArrayRegion) E(Set##T##ArrayRegion)

#define VEN_TEST_JNI_FIXED_ENTRIES(E) \
    E(GetVersion) E(DefineClass) E(FindClass) E(FromReflectedMethod) E(FromReflectedField) \
    E(ToReflectedMethod) E(GetSuperclass) E(IsAssignableFrom) E(ToReflectedField) E(Throw) \
    E(ThrowNew) E(ExceptionOccurred) E(ExceptionDescribe) E(ExceptionClear) E(FatalError) \
    E(PushLocalFrame) E(PopLocalFrame) E(NewGlobalRef) E(DeleteGlobalRef) E(DeleteLocalRef) \
    E(IsSameObject) E(NewLocalRef) E(EnsureLocalCapacity) E(AllocObject) E(NewObjectV) \
    E(NewObjectA) E(GetObjectClass) E(IsInstanceOf) E(GetMethodID) E(GetFieldID) \
    E(GetStaticMethodID) E(GetStaticFieldID) E(NewString) E(GetStringLength) E(GetStringChars) \
    E(ReleaseStringChars) E(NewStringUTF) E(GetStringUTFLength) E(GetStringUTFChars) \
    E(ReleaseStringUTFChars) E(GetArrayLength) E(NewObjectArray) E(GetObjectArrayElement) \
    E(SetObjectArrayElement) E(RegisterNatives) E(UnregisterNatives) E(MonitorEnter) \
    E(MonitorExit) E(GetJavaVM) E(GetStringRegion) E(GetStringUTFRegion) \
    E(GetPrimitiveArrayCritical) E(ReleasePrimitiveArrayCritical) E(GetStringCritical) \
    E(ReleaseStringCritical) E(NewWeakGlobalRef) E(DeleteWeakGlobalRef) E(ExceptionCheck) \
    E(NewDirectByteBuffer) E(GetDirectBufferAddress) E(GetDirectBufferCapacity) \
    E(GetObjectRefType) E(GetModule) \
    VEN_TEST_JNI_CALLS(E, Void) VEN_TEST_JNI_FIELDS(E, Object) \
    VEN_TEST_JNI_PRIMITIVE(E, Boolean) VEN_TEST_JNI_PRIMITIVE(E, Byte) VEN_TEST_JNI_PRIMITIVE(E, Char) \
    VEN_TEST_JNI_PRIMITIVE(E, Short) VEN_TEST_JNI_PRIMITIVE(E, Int) VEN_TEST_JNI_PRIMITIVE(E, Long) \
    VEN_TEST_JNI_PRIMITIVE(E, Float) VEN_TEST_JNI_PRIMITIVE(E, Double)
// clang-format on

// Entries that newer JDK headers append to the table.
#if defined(JNI_VERSION_21)
#define VEN_TEST_JNI_ENTRIES_21(E) E(IsVirtualThread)
#else
#define VEN_TEST_JNI_ENTRIES_21(E)
#endif
#if defined(JNI_VERSION_24)
#define VEN_TEST_JNI_ENTRIES_24(E) E(GetStringUTFLengthAsLong)
#else
#define VEN_TEST_JNI_ENTRIES_24(E)
#endif

#define VEN_TEST_JNI_ENTRIES(E)                                                                              \
    VEN_TEST_JNI_FIXED_ENTRIES(E) VEN_TEST_JNI_ENTRIES_21(E) VEN_TEST_JNI_ENTRIES_24(E)

namespace ven::test::detail
{

inline constexpr std::size_t kJniTableSlots = sizeof(JNINativeInterface_) / sizeof(void*);

} // namespace ven::test::detail
