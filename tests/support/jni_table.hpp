// The function-table entries of JNINativeInterface_ that FaultEnv forwards, as X-macro lists.
// The "..." forms are left out: the library never calls them, and their slots stay NULL in the
// fake table, so reaching one crashes the test instead of handing the fake env to the JVM.
#pragma once

#include <jni.h>

#include <cstddef>

// clang-format off
#define VEN_TEST_JNI_FIXED_ENTRIES(E) \
    E(GetVersion) E(DefineClass) E(FindClass) E(FromReflectedMethod) E(FromReflectedField) \
    E(ToReflectedMethod) E(GetSuperclass) E(IsAssignableFrom) E(ToReflectedField) E(Throw) \
    E(ThrowNew) E(ExceptionOccurred) E(ExceptionDescribe) E(ExceptionClear) E(FatalError) \
    E(PushLocalFrame) E(PopLocalFrame) E(NewGlobalRef) E(DeleteGlobalRef) E(DeleteLocalRef) \
    E(IsSameObject) E(NewLocalRef) E(EnsureLocalCapacity) E(AllocObject) E(NewObjectV) \
    E(NewObjectA) E(GetObjectClass) E(IsInstanceOf) E(GetMethodID) E(CallObjectMethodV) \
    E(CallObjectMethodA) E(CallBooleanMethodV) E(CallBooleanMethodA) E(CallByteMethodV) \
    E(CallByteMethodA) E(CallCharMethodV) E(CallCharMethodA) E(CallShortMethodV) \
    E(CallShortMethodA) E(CallIntMethodV) E(CallIntMethodA) E(CallLongMethodV) E(CallLongMethodA) \
    E(CallFloatMethodV) E(CallFloatMethodA) E(CallDoubleMethodV) E(CallDoubleMethodA) \
    E(CallVoidMethodV) E(CallVoidMethodA) E(CallNonvirtualObjectMethodV) \
    E(CallNonvirtualObjectMethodA) E(CallNonvirtualBooleanMethodV) E(CallNonvirtualBooleanMethodA) \
    E(CallNonvirtualByteMethodV) E(CallNonvirtualByteMethodA) E(CallNonvirtualCharMethodV) \
    E(CallNonvirtualCharMethodA) E(CallNonvirtualShortMethodV) E(CallNonvirtualShortMethodA) \
    E(CallNonvirtualIntMethodV) E(CallNonvirtualIntMethodA) E(CallNonvirtualLongMethodV) \
    E(CallNonvirtualLongMethodA) E(CallNonvirtualFloatMethodV) E(CallNonvirtualFloatMethodA) \
    E(CallNonvirtualDoubleMethodV) E(CallNonvirtualDoubleMethodA) E(CallNonvirtualVoidMethodV) \
    E(CallNonvirtualVoidMethodA) E(GetFieldID) E(GetObjectField) E(GetBooleanField) \
    E(GetByteField) E(GetCharField) E(GetShortField) E(GetIntField) E(GetLongField) \
    E(GetFloatField) E(GetDoubleField) E(SetObjectField) E(SetBooleanField) E(SetByteField) \
    E(SetCharField) E(SetShortField) E(SetIntField) E(SetLongField) E(SetFloatField) \
    E(SetDoubleField) E(GetStaticMethodID) E(CallStaticObjectMethodV) E(CallStaticObjectMethodA) \
    E(CallStaticBooleanMethodV) E(CallStaticBooleanMethodA) E(CallStaticByteMethodV) \
    E(CallStaticByteMethodA) E(CallStaticCharMethodV) E(CallStaticCharMethodA) \
    E(CallStaticShortMethodV) E(CallStaticShortMethodA) E(CallStaticIntMethodV) \
    E(CallStaticIntMethodA) E(CallStaticLongMethodV) E(CallStaticLongMethodA) \
    E(CallStaticFloatMethodV) E(CallStaticFloatMethodA) E(CallStaticDoubleMethodV) \
    E(CallStaticDoubleMethodA) E(CallStaticVoidMethodV) E(CallStaticVoidMethodA) \
    E(GetStaticFieldID) E(GetStaticObjectField) E(GetStaticBooleanField) E(GetStaticByteField) \
    E(GetStaticCharField) E(GetStaticShortField) E(GetStaticIntField) E(GetStaticLongField) \
    E(GetStaticFloatField) E(GetStaticDoubleField) E(SetStaticObjectField) \
    E(SetStaticBooleanField) E(SetStaticByteField) E(SetStaticCharField) E(SetStaticShortField) \
    E(SetStaticIntField) E(SetStaticLongField) E(SetStaticFloatField) E(SetStaticDoubleField) \
    E(NewString) E(GetStringLength) E(GetStringChars) E(ReleaseStringChars) E(NewStringUTF) \
    E(GetStringUTFLength) E(GetStringUTFChars) E(ReleaseStringUTFChars) E(GetArrayLength) \
    E(NewObjectArray) E(GetObjectArrayElement) E(SetObjectArrayElement) E(NewBooleanArray) \
    E(NewByteArray) E(NewCharArray) E(NewShortArray) E(NewIntArray) E(NewLongArray) \
    E(NewFloatArray) E(NewDoubleArray) E(GetBooleanArrayElements) E(GetByteArrayElements) \
    E(GetCharArrayElements) E(GetShortArrayElements) E(GetIntArrayElements) \
    E(GetLongArrayElements) E(GetFloatArrayElements) E(GetDoubleArrayElements) \
    E(ReleaseBooleanArrayElements) E(ReleaseByteArrayElements) E(ReleaseCharArrayElements) \
    E(ReleaseShortArrayElements) E(ReleaseIntArrayElements) E(ReleaseLongArrayElements) \
    E(ReleaseFloatArrayElements) E(ReleaseDoubleArrayElements) E(GetBooleanArrayRegion) \
    E(GetByteArrayRegion) E(GetCharArrayRegion) E(GetShortArrayRegion) E(GetIntArrayRegion) \
    E(GetLongArrayRegion) E(GetFloatArrayRegion) E(GetDoubleArrayRegion) E(SetBooleanArrayRegion) \
    E(SetByteArrayRegion) E(SetCharArrayRegion) E(SetShortArrayRegion) E(SetIntArrayRegion) \
    E(SetLongArrayRegion) E(SetFloatArrayRegion) E(SetDoubleArrayRegion) E(RegisterNatives) \
    E(UnregisterNatives) E(MonitorEnter) E(MonitorExit) E(GetJavaVM) E(GetStringRegion) \
    E(GetStringUTFRegion) E(GetPrimitiveArrayCritical) E(ReleasePrimitiveArrayCritical) \
    E(GetStringCritical) E(ReleaseStringCritical) E(NewWeakGlobalRef) E(DeleteWeakGlobalRef) \
    E(ExceptionCheck) E(NewDirectByteBuffer) E(GetDirectBufferAddress) E(GetDirectBufferCapacity) \
    E(GetObjectRefType) E(GetModule)

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
