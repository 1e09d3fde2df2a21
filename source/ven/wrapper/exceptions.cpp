// Wrappers for version, exceptions, classes, references, local frames, native methods,
// objects and monitors, and the steps of the exception wrappers that every guarded wrapper
// shares. Each definition names its JNI member, its kind and the lines of its checks.
#include <cstdarg>

#include <jni.h>

#include "ven/wrapper.h"
#include "ven/wrapper/convention.hpp"
#include "ven/wrapper/settled.hpp"

namespace ven::wrapper
{

void clearPending(JNIEnv* env)
{
    env->functions->ExceptionClear(env);
    check(!exceptionPending(env), 116, kNoExceptionCondition);
}

void throwPending(JNIEnv* env, jthrowable throwable)
{
    clearPending(env);
    check(env->functions->Throw(env, throwable) == 0, 86, "(*env)->Throw( env, throwable ) == 0");
    check(exceptionPending(env), 87, kExceptionRaisedCondition);
}

template <typename Guard> jobject newObjectV(JNIEnv* env, jclass clazz, jmethodID methodID, va_list args)
{
    checkRequired(459, {{env, "env"}, {clazz, "clazz"}, {methodID, "methodID"}});
    return checkedResult<&Jni::NewObjectV, Guard>(env, {473, VEN_NULL_RESULT_MESSAGE(NewObjectV)}, clazz,
                                                  methodID, args);
}

jobject settled::NewObjectV(JNIEnv* env, jclass clazz, jmethodID methodID, va_list args)
{
    return newObjectV<NothingPending>(env, clazz, methodID, args);
}

template <typename Guard> jboolean isInstanceOf(JNIEnv* env, jobject obj, jclass clazz)
{
    checkRequired(513, {{env, "env"}, {clazz, "clazz"}});
    return nonRaising<&Jni::IsInstanceOf, Guard>(env, 521, NoResultCheck{}, obj, clazz);
}

jboolean settled::IsInstanceOf(JNIEnv* env, jobject obj, jclass clazz)
{
    return isInstanceOf<NothingPending>(env, obj, clazz);
}

template <typename Guard> jclass findClass(JNIEnv* env, const char* name)
{
    checkRequired(56, {{env, "env"}, {name, "name"}});
    // This message names the wrapper where its siblings name the JNI function.
    return checkedResult<&Jni::FindClass, Guard>(
        env, {69, "(*env)->ExceptionCheck() == JNI_FALSE <> (*env)->ven___FindClass() == NULL"}, name);
}

jclass settled::FindClass(JNIEnv* env, const char* name)
{
    return findClass<NothingPending>(env, name);
}

template <typename Guard> jclass getObjectClass(JNIEnv* env, jobject obj)
{
    checkRequired(488, {{env, "env"}, {obj, "obj"}});
    return nonRaising<&Jni::GetObjectClass, Guard>(
        env, 496, NullResultCheck{{499, "(*env)->GetObjectClass() == NULL"}}, obj);
}

jclass settled::GetObjectClass(JNIEnv* env, jobject obj)
{
    return getObjectClass<NothingPending>(env, obj);
}

void settled::DeleteLocalRef(JNIEnv* env, jobject localRef)
{
    checkRequired(168, {{env, "env"}, {localRef, "localRef"}});
    deleteLocalRef(env, localRef);
}

} // namespace ven::wrapper

using namespace ven::wrapper;

extern "C" {

VEN_API jint ven___GetVersion(JNIEnv* env)
{
    checkRequired(45, {{env, "env"}});
    return callJni<&Jni::GetVersion>(env);
}

VEN_API jclass ven___FindClass(JNIEnv* env, const char* name)
{
    return findClass<SavedException>(env, name);
}

VEN_API void ven___Throw(JNIEnv* env, jthrowable throwable)
{
    checkRequired(81, {{env, "env"}, {throwable, "throwable"}});
    throwPending(env, throwable);
}

VEN_API void ven___ThrowNew(JNIEnv* env, jclass clazz, const char* message)
{
    checkRequired(91, {{env, "env"}, {clazz, "clazz"}, {message, "message"}});
    // Unlike ven___Throw this does not clear first: an exception pending now is replaced by JNI.
    check(callJni<&Jni::ThrowNew>(env, clazz, message) == 0, 95,
          "(*env)->ThrowNew( env, clazz, message ) == 0");
    check(exceptionPending(env), 96, kExceptionRaisedCondition);
}

VEN_API jthrowable ven___ExceptionOccurred(JNIEnv* env)
{
    checkRequired(100, {{env, "env"}});
    return callJni<&Jni::ExceptionOccurred>(env);
}

VEN_API void ven___ExceptionDescribe(JNIEnv* env)
{
    checkRequired(106, {{env, "env"}});
    callJni<&Jni::ExceptionDescribe>(env);
}

VEN_API void ven___ExceptionClear(JNIEnv* env)
{
    checkRequired(112, {{env, "env"}});
    clearPending(env);
}

VEN_API void ven___FatalError(JNIEnv* env, const char* msg)
{
    checkRequired(120, {{env, "env"}, {msg, "msg"}});
    callJni<&Jni::FatalError>(env, msg);
}

VEN_API jboolean ven___ExceptionCheck(JNIEnv* env)
{
    checkRequired(127, {{env, "env"}});
    return callJni<&Jni::ExceptionCheck>(env);
}

VEN_API jobject ven___NewGlobalRef(JNIEnv* env, jobject obj)
{
    checkRequired(136, {{env, "env"}, {obj, "obj"}});
    return checkedResult<&Jni::NewGlobalRef>(env, {149, VEN_NULL_RESULT_MESSAGE(NewGlobalRef)}, obj);
}

VEN_API void ven___DeleteGlobalRef(JNIEnv* env, jobject globalRef)
{
    checkRequired(161, {{env, "env"}, {globalRef, "globalRef"}});
    callJni<&Jni::DeleteGlobalRef>(env, globalRef);
}

VEN_API void ven___DeleteLocalRef(JNIEnv* env, jobject localRef)
{
    settled::DeleteLocalRef(env, localRef);
}

VEN_API jint ven___RegisterNatives(JNIEnv* env, jclass clazz, const JNINativeMethod* methods, jint nMethods)
{
    checkRequired(178, {{env, "env"}, {clazz, "clazz"}, {methods, "methods"}});
    check(nMethods >= 0, 181, "nMethods >= 0");
    return checkedResult<&Jni::RegisterNatives>(env, {195, VEN_STATUS_MESSAGE(RegisterNatives)}, clazz,
                                                methods, nMethods);
}

VEN_API jint ven___UnregisterNatives(JNIEnv* env, jclass clazz)
{
    checkRequired(210, {{env, "env"}, {clazz, "clazz"}});
    return checkedResult<&Jni::UnregisterNatives>(env, {225, VEN_STATUS_MESSAGE(UnregisterNatives)}, clazz);
}

VEN_API jint ven___EnsureLocalCapacity(JNIEnv* env, jint capacity)
{
    checkRequired(241, {{env, "env"}});
    check(capacity >= 0, 242, "capacity >= 0");
    return checkedResult<&Jni::EnsureLocalCapacity>(env, {256, VEN_STATUS_MESSAGE(EnsureLocalCapacity)},
                                                    capacity);
}

VEN_API jint ven___PushLocalFrame(JNIEnv* env, jint capacity)
{
    checkRequired(275, {{env, "env"}});
    check(capacity >= 0, 276, "capacity >= 0");
    return checkedResult<&Jni::PushLocalFrame>(env, {290, VEN_STATUS_MESSAGE(PushLocalFrame)}, capacity);
}

// A non-raising call whose saved exception needs care: the reference to it belongs to the
// frame being popped and is dead afterwards, so a global reference carries the throwable
// across the pop.
VEN_API jobject ven___PopLocalFrame(JNIEnv* env, jobject result)
{
    checkRequired(308, {{env, "env"}});
    jthrowable saved = callJni<&Jni::ExceptionOccurred>(env);
    jobject carried = nullptr;
    if (saved != nullptr) [[unlikely]] {
        clearPending(env);
        carried = callJni<&Jni::NewGlobalRef>(env, saved);
        if (carried == nullptr) [[unlikely]] {
            // No global reference to be had: leave the throwable pending across the pop,
            // which JNI permits; the thread keeps it alive. The pop cannot be asked
            // afterwards whether it raised, but it has nothing to raise.
            throwPending(env, saved);
            return callJni<&Jni::PopLocalFrame>(env, result);
        }
    }
    jobject outer = callJni<&Jni::PopLocalFrame>(env, result);
    check(!exceptionPending(env), 315, kNoExceptionCondition);
    if (carried != nullptr) [[unlikely]] {
        throwPending(env, static_cast<jthrowable>(carried));
        callJni<&Jni::DeleteGlobalRef>(env, carried);
    }
    return outer;
}

VEN_API jobject ven___NewLocalRef(JNIEnv* env, jobject ref)
{
    // A NULL reference has no copy: NULL comes back before anything else, the exception
    // state untouched.
    if (ref == nullptr) {
        return nullptr;
    }
    checkRequired(328, {{env, "env"}});
    return nonRaising<&Jni::NewLocalRef>(
        env, 339, NullResultCheck{{342, "ref != NULL <> (*env)->NewLocalRef(ref) == NULL"}}, ref);
}

VEN_API jweak ven___NewWeakGlobalRef(JNIEnv* env, jobject obj)
{
    checkRequired(356, {{env, "env"}});
    return checkedResult<&Jni::NewWeakGlobalRef>(env, {368, VEN_NULL_RESULT_MESSAGE(NewWeakGlobalRef)}, obj);
}

VEN_API void ven___DeleteWeakGlobalRef(JNIEnv* env, jweak obj)
{
    checkRequired(380, {{env, "env"}, {obj, "obj"}});
    callJni<&Jni::DeleteWeakGlobalRef>(env, obj);
}

VEN_API jobject ven___AllocObject(JNIEnv* env, jclass clazz)
{
    checkRequired(390, {{env, "env"}, {clazz, "clazz"}});
    return checkedResult<&Jni::AllocObject>(env, {403, VEN_NULL_RESULT_MESSAGE(AllocObject)}, clazz);
}

VEN_API jobject ven___NewObjectA(JNIEnv* env, jclass clazz, jmethodID methodID, const jvalue* args)
{
    checkRequired(429, {{env, "env"}, {clazz, "clazz"}, {methodID, "methodID"}});
    return checkedResult<&Jni::NewObjectA>(env, {443, VEN_NULL_RESULT_MESSAGE(NewObjectA)}, clazz, methodID,
                                           args);
}

VEN_API jobject ven___NewObjectV(JNIEnv* env, jclass clazz, jmethodID methodID, va_list args)
{
    return newObjectV<SavedException>(env, clazz, methodID, args);
}

VEN_API jobject ven___NewObject(JNIEnv* env, jclass clazz, jmethodID methodID, ...)
{
    va_list args;
    va_start(args, methodID);
    jobject object = newObjectV<SavedException>(env, clazz, methodID, args);
    va_end(args);
    return object;
}

VEN_API jclass ven___GetObjectClass(JNIEnv* env, jobject obj)
{
    return getObjectClass<SavedException>(env, obj);
}

VEN_API jboolean ven___IsInstanceOf(JNIEnv* env, jobject obj, jclass clazz)
{
    return isInstanceOf<SavedException>(env, obj, clazz);
}

VEN_API jboolean ven___IsSameObject(JNIEnv* env, jobject ref1, jobject ref2)
{
    checkRequired(534, {{env, "env"}});
    return nonRaising<&Jni::IsSameObject>(env, 541, NoResultCheck{}, ref1, ref2);
}

// Non-raising, but its status is tested before the exception state.
VEN_API void ven___MonitorEnter(JNIEnv* env, jobject obj)
{
    checkRequired(5094, {{env, "env"}, {obj, "obj"}});
    SavedException saved(env);
    check(callJni<&Jni::MonitorEnter>(env, obj) == 0, 5100, "(*env)->MonitorEnter( env, obj ) == 0");
    check(!saved.callRaised(), 5102, kNoExceptionCondition);
    saved.restore();
}

// A direct call: leaving a monitor is allowed, and needed, with an exception pending.
VEN_API void ven___MonitorLeave(JNIEnv* env, jobject obj)
{
    checkRequired(5110, {{env, "env"}, {obj, "obj"}});
    check(callJni<&Jni::MonitorExit>(env, obj) == 0, 5113, "(*env)->MonitorExit( env, obj ) == 0");
}

} // extern "C"
