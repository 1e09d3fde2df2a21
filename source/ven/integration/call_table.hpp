// The rows of the call family, shared by methods.cpp and the sweep suite.
#pragma once

// One row per function: form, kind, exported name, the function it calls, result type,
// JNI result type.
#define VEN_CALL_FUNCTIONS(X)                                                                                \
    X(Void, Virtual, venCallVoidMethod, ven___CallVoidMethodV, void, void)                                   \
    X(Value, Virtual, venCallObjectMethod, ven___CallObjectMethodV, jobject, jobject)                        \
    X(Value, Virtual, venCallBooleanMethod, ven___CallBooleanMethodV, KS_BOOL, jboolean)                     \
    X(Value, Virtual, venCallByteMethod, ven___CallByteMethodV, jbyte, jbyte)                                \
    X(Value, Virtual, venCallCharMethod, ven___CallCharMethodV, KS_CHAR, jchar)                              \
    X(Value, Virtual, venCallShortMethod, ven___CallShortMethodV, KS_INT, jshort)                            \
    X(Value, Virtual, venCallIntMethod, ven___CallIntMethodV, KS_INT, jint)                                  \
    X(Value, Virtual, venCallLongMethod, ven___CallLongMethodV, KS_INT, jlong)                               \
    X(Value, Virtual, venCallFloatMethod, ven___CallFloatMethodV, double, jfloat)                            \
    X(Value, Virtual, venCallDoubleMethod, ven___CallDoubleMethodV, double, jdouble)                         \
    X(Void, Nonvirtual, venCallNonvirtualVoidMethod, ven___CallNonvirtualVoidMethodV, void, void)            \
    X(Value, Nonvirtual, venCallNonvirtualObjectMethod, ven___CallNonvirtualObjectMethodV, jobject, jobject) \
    X(Value, Nonvirtual, venCallNonvirtualBooleanMethod, ven___CallNonvirtualBooleanMethodV, KS_BOOL,        \
      jboolean)                                                                                              \
    X(Value, Nonvirtual, venCallNonvirtualByteMethod, ven___CallNonvirtualByteMethodV, jbyte, jbyte)         \
    X(Value, Nonvirtual, venCallNonvirtualCharMethod, ven___CallNonvirtualCharMethodV, KS_CHAR, jchar)       \
    X(Value, Nonvirtual, venCallNonvirtualShortMethod, ven___CallNonvirtualShortMethodV, KS_INT, jshort)     \
    X(Value, Nonvirtual, venCallNonvirtualIntMethod, ven___CallNonvirtualIntMethodV, KS_INT, jint)           \
    X(Value, Nonvirtual, venCallNonvirtualLongMethod, ven___CallNonvirtualLongMethodV, KS_INT, jlong)        \
    X(Value, Nonvirtual, venCallNonvirtualFloatMethod, ven___CallNonvirtualFloatMethodV, double, jfloat)     \
    X(Value, Nonvirtual, venCallNonvirtualDoubleMethod, ven___CallNonvirtualDoubleMethodV, double, jdouble)  \
    X(Void, Static, venCallStaticVoidMethod, ven___CallStaticVoidMethodV, void, void)                        \
    X(Value, Static, venCallStaticObjectMethod, ven___CallStaticObjectMethodV, jobject, jobject)             \
    X(Value, Static, venCallStaticBooleanMethod, ven___CallStaticBooleanMethodV, KS_BOOL, jboolean)          \
    X(Value, Static, venCallStaticByteMethod, ven___CallStaticByteMethodV, jbyte, jbyte)                     \
    X(Value, Static, venCallStaticCharMethod, ven___CallStaticCharMethodV, KS_CHAR, jchar)                   \
    X(Value, Static, venCallStaticShortMethod, ven___CallStaticShortMethodV, KS_INT, jshort)                 \
    X(Value, Static, venCallStaticIntMethod, ven___CallStaticIntMethodV, KS_INT, jint)                       \
    X(Value, Static, venCallStaticLongMethod, ven___CallStaticLongMethodV, KS_INT, jlong)                    \
    X(Value, Static, venCallStaticFloatMethod, ven___CallStaticFloatMethodV, double, jfloat)                 \
    X(Value, Static, venCallStaticDoubleMethod, ven___CallStaticDoubleMethodV, double, jdouble)              \
    X(VaList, Virtual, venCallObjectMethodV, ven___CallObjectMethodV, jobject, jobject)                      \
    X(VaList, Nonvirtual, venCallNonvirtualObjectMethodV, ven___CallNonvirtualObjectMethodV, jobject,        \
      jobject)                                                                                               \
    X(VaList, Static, venCallStaticObjectMethodV, ven___CallStaticObjectMethodV, jobject, jobject)           \
    X(String, Virtual, venCallStringMethod, venCallObjectMethodV, ksString*, jobject)                        \
    X(String, Nonvirtual, venCallNonvirtualStringMethod, venCallNonvirtualObjectMethodV, ksString*, jobject) \
    X(String, Static, venCallStaticStringMethod, venCallStaticObjectMethodV, ksString*, jobject)

// The parameters of each kind, and the same as arguments; methodID always comes last.
#define VEN_CALL_PARAMETERS_Virtual jobject obj, jmethodID methodID
#define VEN_CALL_PARAMETERS_Nonvirtual jobject obj, jclass clazz, jmethodID methodID
#define VEN_CALL_PARAMETERS_Static jclass clazz, jmethodID methodID
#define VEN_CALL_ARGUMENTS_Virtual obj, methodID
#define VEN_CALL_ARGUMENTS_Nonvirtual obj, clazz, methodID
#define VEN_CALL_ARGUMENTS_Static clazz, methodID

// The calls that composed operations make, which have settled twins (settled.hpp): twin, exported
// function, the wrapper's settled twin it calls, form, kind, result type, JNI result type.
#define VEN_SETTLED_CALLS(X)                                                                                 \
    X(callObjectMethod, venCallObjectMethod, CallObjectMethodV, Value, Virtual, jobject, jobject)            \
    X(callBooleanMethod, venCallBooleanMethod, CallBooleanMethodV, Value, Virtual, KS_BOOL, jboolean)        \
    X(callIntMethod, venCallIntMethod, CallIntMethodV, Value, Virtual, KS_INT, jint)                         \
    X(callStaticObjectMethod, venCallStaticObjectMethod, CallStaticObjectMethodV, Value, Static, jobject,    \
      jobject)                                                                                               \
    X(callObjectMethodV, venCallObjectMethodV, CallObjectMethodV, VaList, Virtual, jobject, jobject)         \
    X(callNonvirtualObjectMethodV, venCallNonvirtualObjectMethodV, CallNonvirtualObjectMethodV, VaList,      \
      Nonvirtual, jobject, jobject)                                                                          \
    X(callStaticObjectMethodV, venCallStaticObjectMethodV, CallStaticObjectMethodV, VaList, Static, jobject, \
      jobject)
