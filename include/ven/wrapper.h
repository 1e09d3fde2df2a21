/* The wrapper layer: one checked twin of each JNI environment function the library uses.
 * A broken argument or a broken JNI guarantee stops the process through ks___Abort; a Java
 * exception pending on entry is kept across a call that succeeds. */
#ifndef VEN_WRAPPER_H
#define VEN_WRAPPER_H

#include <stdarg.h>

#include <jni.h>

#include "ven/export.h"

VEN_EXTERN_C_BEGIN

/* Version: direct call. */
VEN_API jint ven___GetVersion(JNIEnv* env);

/* Exceptions: throwing, asking and clearing; the throws and the clear check the resulting state. */
VEN_API void ven___Throw(JNIEnv* env, jthrowable throwable);
VEN_API void ven___ThrowNew(JNIEnv* env, jclass clazz, const char* message);
VEN_API jthrowable ven___ExceptionOccurred(JNIEnv* env);
VEN_API void ven___ExceptionDescribe(JNIEnv* env);
VEN_API void ven___ExceptionClear(JNIEnv* env);
VEN_API void ven___FatalError(JNIEnv* env, const char* msg);
VEN_API jboolean ven___ExceptionCheck(JNIEnv* env);

/* Classes: lookup by name; NULL with the exception pending when the class is not found. */
VEN_API jclass ven___FindClass(JNIEnv* env, const char* name);

/* References: global, local and weak; deletions refuse NULL, ven___NewLocalRef(env, NULL) is NULL. */
VEN_API jobject ven___NewGlobalRef(JNIEnv* env, jobject obj);
VEN_API void ven___DeleteGlobalRef(JNIEnv* env, jobject globalRef);
VEN_API void ven___DeleteLocalRef(JNIEnv* env, jobject localRef);
VEN_API jobject ven___NewLocalRef(JNIEnv* env, jobject ref);
VEN_API jweak ven___NewWeakGlobalRef(JNIEnv* env, jobject obj);
VEN_API void ven___DeleteWeakGlobalRef(JNIEnv* env, jweak obj);

/* Local frames: a non-zero status exactly on failure; the pop keeps a pending exception pending. */
VEN_API jint ven___EnsureLocalCapacity(JNIEnv* env, jint capacity);
VEN_API jint ven___PushLocalFrame(JNIEnv* env, jint capacity);
VEN_API jobject ven___PopLocalFrame(JNIEnv* env, jobject result);

/* Native methods: jint status non-zero exactly when the call failed. */
VEN_API jint ven___RegisterNatives(JNIEnv* env, jclass clazz, const JNINativeMethod* methods, jint nMethods);
VEN_API jint ven___UnregisterNatives(JNIEnv* env, jclass clazz);

/* Objects: creation (the variadic form forwards to its V twin), class and identity tests. */
VEN_API jobject ven___AllocObject(JNIEnv* env, jclass clazz);
VEN_API jobject ven___NewObjectA(JNIEnv* env, jclass clazz, jmethodID methodID, const jvalue* args);
VEN_API jobject ven___NewObjectV(JNIEnv* env, jclass clazz, jmethodID methodID, va_list args);
VEN_API jobject ven___NewObject(JNIEnv* env, jclass clazz, jmethodID methodID, ...);
VEN_API jclass ven___GetObjectClass(JNIEnv* env, jobject obj);
VEN_API jboolean ven___IsInstanceOf(JNIEnv* env, jobject obj, jclass clazz);
VEN_API jboolean ven___IsSameObject(JNIEnv* env, jobject ref1, jobject ref2);

/* Monitors: ven___MonitorLeave calls JNI's MonitorExit and leaves a pending exception alone. */
VEN_API void ven___MonitorEnter(JNIEnv* env, jobject obj);
VEN_API void ven___MonitorLeave(JNIEnv* env, jobject obj);

/* Field lookups: NULL with the exception pending when the field is not found. */
VEN_API jfieldID ven___GetFieldID(JNIEnv* env, jclass clazz, const char* name, const char* sig);
VEN_API jfieldID ven___GetStaticFieldID(JNIEnv* env, jclass clazz, const char* name, const char* sig);

/* Instance field getters: an exception raised by the access stops the process. */
VEN_API jobject ven___GetObjectField(JNIEnv* env, jobject obj, jfieldID fieldID);
VEN_API jboolean ven___GetBooleanField(JNIEnv* env, jobject obj, jfieldID fieldID);
VEN_API jbyte ven___GetByteField(JNIEnv* env, jobject obj, jfieldID fieldID);
VEN_API jchar ven___GetCharField(JNIEnv* env, jobject obj, jfieldID fieldID);
VEN_API jshort ven___GetShortField(JNIEnv* env, jobject obj, jfieldID fieldID);
VEN_API jint ven___GetIntField(JNIEnv* env, jobject obj, jfieldID fieldID);
VEN_API jlong ven___GetLongField(JNIEnv* env, jobject obj, jfieldID fieldID);
VEN_API jfloat ven___GetFloatField(JNIEnv* env, jobject obj, jfieldID fieldID);
VEN_API jdouble ven___GetDoubleField(JNIEnv* env, jobject obj, jfieldID fieldID);

/* Instance field setters. */
VEN_API void ven___SetObjectField(JNIEnv* env, jobject obj, jfieldID fieldID, jobject value);
VEN_API void ven___SetBooleanField(JNIEnv* env, jobject obj, jfieldID fieldID, jboolean value);
VEN_API void ven___SetByteField(JNIEnv* env, jobject obj, jfieldID fieldID, jbyte value);
VEN_API void ven___SetCharField(JNIEnv* env, jobject obj, jfieldID fieldID, jchar value);
VEN_API void ven___SetShortField(JNIEnv* env, jobject obj, jfieldID fieldID, jshort value);
VEN_API void ven___SetIntField(JNIEnv* env, jobject obj, jfieldID fieldID, jint value);
VEN_API void ven___SetLongField(JNIEnv* env, jobject obj, jfieldID fieldID, jlong value);
VEN_API void ven___SetFloatField(JNIEnv* env, jobject obj, jfieldID fieldID, jfloat value);
VEN_API void ven___SetDoubleField(JNIEnv* env, jobject obj, jfieldID fieldID, jdouble value);

/* Static field getters. */
VEN_API jobject ven___GetStaticObjectField(JNIEnv* env, jclass clazz, jfieldID fieldID);
VEN_API jboolean ven___GetStaticBooleanField(JNIEnv* env, jclass clazz, jfieldID fieldID);
VEN_API jbyte ven___GetStaticByteField(JNIEnv* env, jclass clazz, jfieldID fieldID);
VEN_API jchar ven___GetStaticCharField(JNIEnv* env, jclass clazz, jfieldID fieldID);
VEN_API jshort ven___GetStaticShortField(JNIEnv* env, jclass clazz, jfieldID fieldID);
VEN_API jint ven___GetStaticIntField(JNIEnv* env, jclass clazz, jfieldID fieldID);
VEN_API jlong ven___GetStaticLongField(JNIEnv* env, jclass clazz, jfieldID fieldID);
VEN_API jfloat ven___GetStaticFloatField(JNIEnv* env, jclass clazz, jfieldID fieldID);
VEN_API jdouble ven___GetStaticDoubleField(JNIEnv* env, jclass clazz, jfieldID fieldID);

/* Static field setters. */
VEN_API void ven___SetStaticObjectField(JNIEnv* env, jclass clazz, jfieldID fieldID, jobject value);
VEN_API void ven___SetStaticBooleanField(JNIEnv* env, jclass clazz, jfieldID fieldID, jboolean value);
VEN_API void ven___SetStaticByteField(JNIEnv* env, jclass clazz, jfieldID fieldID, jbyte value);
VEN_API void ven___SetStaticCharField(JNIEnv* env, jclass clazz, jfieldID fieldID, jchar value);
VEN_API void ven___SetStaticShortField(JNIEnv* env, jclass clazz, jfieldID fieldID, jshort value);
VEN_API void ven___SetStaticIntField(JNIEnv* env, jclass clazz, jfieldID fieldID, jint value);
VEN_API void ven___SetStaticLongField(JNIEnv* env, jclass clazz, jfieldID fieldID, jlong value);
VEN_API void ven___SetStaticFloatField(JNIEnv* env, jclass clazz, jfieldID fieldID, jfloat value);
VEN_API void ven___SetStaticDoubleField(JNIEnv* env, jclass clazz, jfieldID fieldID, jdouble value);

/* Method lookups: NULL with the exception pending when the method is not found. */
VEN_API jmethodID ven___GetMethodID(JNIEnv* env, jclass clazz, const char* name, const char* sig);
VEN_API jmethodID ven___GetStaticMethodID(JNIEnv* env, jclass clazz, const char* name, const char* sig);

/* Virtual calls: JNI_FALSE, the exception pending and a zero *result when the method threw. */
VEN_API jboolean ven___CallVoidMethodA(JNIEnv* env, jobject obj, jmethodID methodID, const jvalue* args);
VEN_API jboolean ven___CallVoidMethodV(JNIEnv* env, jobject obj, jmethodID methodID, va_list args);
VEN_API jboolean ven___CallVoidMethod(JNIEnv* env, jobject obj, jmethodID methodID, ...);
VEN_API jboolean ven___CallObjectMethodA(jobject* result, JNIEnv* env, jobject obj, jmethodID methodID,
                                         const jvalue* args);
VEN_API jboolean ven___CallObjectMethodV(jobject* result, JNIEnv* env, jobject obj, jmethodID methodID,
                                         va_list args);
VEN_API jboolean ven___CallObjectMethod(jobject* result, JNIEnv* env, jobject obj, jmethodID methodID, ...);
VEN_API jboolean ven___CallBooleanMethodA(jboolean* result, JNIEnv* env, jobject obj, jmethodID methodID,
                                          const jvalue* args);
VEN_API jboolean ven___CallBooleanMethodV(jboolean* result, JNIEnv* env, jobject obj, jmethodID methodID,
                                          va_list args);
VEN_API jboolean ven___CallBooleanMethod(jboolean* result, JNIEnv* env, jobject obj, jmethodID methodID, ...);
VEN_API jboolean ven___CallByteMethodA(jbyte* result, JNIEnv* env, jobject obj, jmethodID methodID,
                                       const jvalue* args);
VEN_API jboolean ven___CallByteMethodV(jbyte* result, JNIEnv* env, jobject obj, jmethodID methodID,
                                       va_list args);
VEN_API jboolean ven___CallByteMethod(jbyte* result, JNIEnv* env, jobject obj, jmethodID methodID, ...);
VEN_API jboolean ven___CallCharMethodA(jchar* result, JNIEnv* env, jobject obj, jmethodID methodID,
                                       const jvalue* args);
VEN_API jboolean ven___CallCharMethodV(jchar* result, JNIEnv* env, jobject obj, jmethodID methodID,
                                       va_list args);
VEN_API jboolean ven___CallCharMethod(jchar* result, JNIEnv* env, jobject obj, jmethodID methodID, ...);
VEN_API jboolean ven___CallShortMethodA(jshort* result, JNIEnv* env, jobject obj, jmethodID methodID,
                                        const jvalue* args);
VEN_API jboolean ven___CallShortMethodV(jshort* result, JNIEnv* env, jobject obj, jmethodID methodID,
                                        va_list args);
VEN_API jboolean ven___CallShortMethod(jshort* result, JNIEnv* env, jobject obj, jmethodID methodID, ...);
VEN_API jboolean ven___CallIntMethodA(jint* result, JNIEnv* env, jobject obj, jmethodID methodID,
                                      const jvalue* args);
VEN_API jboolean ven___CallIntMethodV(jint* result, JNIEnv* env, jobject obj, jmethodID methodID,
                                      va_list args);
VEN_API jboolean ven___CallIntMethod(jint* result, JNIEnv* env, jobject obj, jmethodID methodID, ...);
VEN_API jboolean ven___CallLongMethodA(jlong* result, JNIEnv* env, jobject obj, jmethodID methodID,
                                       const jvalue* args);
VEN_API jboolean ven___CallLongMethodV(jlong* result, JNIEnv* env, jobject obj, jmethodID methodID,
                                       va_list args);
VEN_API jboolean ven___CallLongMethod(jlong* result, JNIEnv* env, jobject obj, jmethodID methodID, ...);
VEN_API jboolean ven___CallFloatMethodA(jfloat* result, JNIEnv* env, jobject obj, jmethodID methodID,
                                        const jvalue* args);
VEN_API jboolean ven___CallFloatMethodV(jfloat* result, JNIEnv* env, jobject obj, jmethodID methodID,
                                        va_list args);
VEN_API jboolean ven___CallFloatMethod(jfloat* result, JNIEnv* env, jobject obj, jmethodID methodID, ...);
VEN_API jboolean ven___CallDoubleMethodA(jdouble* result, JNIEnv* env, jobject obj, jmethodID methodID,
                                         const jvalue* args);
VEN_API jboolean ven___CallDoubleMethodV(jdouble* result, JNIEnv* env, jobject obj, jmethodID methodID,
                                         va_list args);
VEN_API jboolean ven___CallDoubleMethod(jdouble* result, JNIEnv* env, jobject obj, jmethodID methodID, ...);

/* Nonvirtual calls: as the virtual calls. */
VEN_API jboolean ven___CallNonvirtualVoidMethodA(JNIEnv* env, jobject obj, jclass clazz, jmethodID methodID,
                                                 const jvalue* args);
VEN_API jboolean ven___CallNonvirtualVoidMethodV(JNIEnv* env, jobject obj, jclass clazz, jmethodID methodID,
                                                 va_list args);
VEN_API jboolean ven___CallNonvirtualVoidMethod(JNIEnv* env, jobject obj, jclass clazz, jmethodID methodID,
                                                ...);
VEN_API jboolean ven___CallNonvirtualObjectMethodA(jobject* result, JNIEnv* env, jobject obj, jclass clazz,
                                                   jmethodID methodID, const jvalue* args);
VEN_API jboolean ven___CallNonvirtualObjectMethodV(jobject* result, JNIEnv* env, jobject obj, jclass clazz,
                                                   jmethodID methodID, va_list args);
VEN_API jboolean ven___CallNonvirtualObjectMethod(jobject* result, JNIEnv* env, jobject obj, jclass clazz,
                                                  jmethodID methodID, ...);
VEN_API jboolean ven___CallNonvirtualBooleanMethodA(jboolean* result, JNIEnv* env, jobject obj, jclass clazz,
                                                    jmethodID methodID, const jvalue* args);
VEN_API jboolean ven___CallNonvirtualBooleanMethodV(jboolean* result, JNIEnv* env, jobject obj, jclass clazz,
                                                    jmethodID methodID, va_list args);
VEN_API jboolean ven___CallNonvirtualBooleanMethod(jboolean* result, JNIEnv* env, jobject obj, jclass clazz,
                                                   jmethodID methodID, ...);
VEN_API jboolean ven___CallNonvirtualByteMethodA(jbyte* result, JNIEnv* env, jobject obj, jclass clazz,
                                                 jmethodID methodID, const jvalue* args);
VEN_API jboolean ven___CallNonvirtualByteMethodV(jbyte* result, JNIEnv* env, jobject obj, jclass clazz,
                                                 jmethodID methodID, va_list args);
VEN_API jboolean ven___CallNonvirtualByteMethod(jbyte* result, JNIEnv* env, jobject obj, jclass clazz,
                                                jmethodID methodID, ...);
VEN_API jboolean ven___CallNonvirtualCharMethodA(jchar* result, JNIEnv* env, jobject obj, jclass clazz,
                                                 jmethodID methodID, const jvalue* args);
VEN_API jboolean ven___CallNonvirtualCharMethodV(jchar* result, JNIEnv* env, jobject obj, jclass clazz,
                                                 jmethodID methodID, va_list args);
VEN_API jboolean ven___CallNonvirtualCharMethod(jchar* result, JNIEnv* env, jobject obj, jclass clazz,
                                                jmethodID methodID, ...);
VEN_API jboolean ven___CallNonvirtualShortMethodA(jshort* result, JNIEnv* env, jobject obj, jclass clazz,
                                                  jmethodID methodID, const jvalue* args);
VEN_API jboolean ven___CallNonvirtualShortMethodV(jshort* result, JNIEnv* env, jobject obj, jclass clazz,
                                                  jmethodID methodID, va_list args);
VEN_API jboolean ven___CallNonvirtualShortMethod(jshort* result, JNIEnv* env, jobject obj, jclass clazz,
                                                 jmethodID methodID, ...);
VEN_API jboolean ven___CallNonvirtualIntMethodA(jint* result, JNIEnv* env, jobject obj, jclass clazz,
                                                jmethodID methodID, const jvalue* args);
VEN_API jboolean ven___CallNonvirtualIntMethodV(jint* result, JNIEnv* env, jobject obj, jclass clazz,
                                                jmethodID methodID, va_list args);
VEN_API jboolean ven___CallNonvirtualIntMethod(jint* result, JNIEnv* env, jobject obj, jclass clazz,
                                               jmethodID methodID, ...);
VEN_API jboolean ven___CallNonvirtualLongMethodA(jlong* result, JNIEnv* env, jobject obj, jclass clazz,
                                                 jmethodID methodID, const jvalue* args);
VEN_API jboolean ven___CallNonvirtualLongMethodV(jlong* result, JNIEnv* env, jobject obj, jclass clazz,
                                                 jmethodID methodID, va_list args);
VEN_API jboolean ven___CallNonvirtualLongMethod(jlong* result, JNIEnv* env, jobject obj, jclass clazz,
                                                jmethodID methodID, ...);
VEN_API jboolean ven___CallNonvirtualFloatMethodA(jfloat* result, JNIEnv* env, jobject obj, jclass clazz,
                                                  jmethodID methodID, const jvalue* args);
VEN_API jboolean ven___CallNonvirtualFloatMethodV(jfloat* result, JNIEnv* env, jobject obj, jclass clazz,
                                                  jmethodID methodID, va_list args);
VEN_API jboolean ven___CallNonvirtualFloatMethod(jfloat* result, JNIEnv* env, jobject obj, jclass clazz,
                                                 jmethodID methodID, ...);
VEN_API jboolean ven___CallNonvirtualDoubleMethodA(jdouble* result, JNIEnv* env, jobject obj, jclass clazz,
                                                   jmethodID methodID, const jvalue* args);
VEN_API jboolean ven___CallNonvirtualDoubleMethodV(jdouble* result, JNIEnv* env, jobject obj, jclass clazz,
                                                   jmethodID methodID, va_list args);
VEN_API jboolean ven___CallNonvirtualDoubleMethod(jdouble* result, JNIEnv* env, jobject obj, jclass clazz,
                                                  jmethodID methodID, ...);

/* Static calls: as the virtual calls. In all three, object V and variadic calls delete the old *result. */
VEN_API jboolean ven___CallStaticVoidMethodA(JNIEnv* env, jclass clazz, jmethodID methodID,
                                             const jvalue* args);
VEN_API jboolean ven___CallStaticVoidMethodV(JNIEnv* env, jclass clazz, jmethodID methodID, va_list args);
VEN_API jboolean ven___CallStaticVoidMethod(JNIEnv* env, jclass clazz, jmethodID methodID, ...);
VEN_API jboolean ven___CallStaticObjectMethodA(jobject* result, JNIEnv* env, jclass clazz, jmethodID methodID,
                                               const jvalue* args);
VEN_API jboolean ven___CallStaticObjectMethodV(jobject* result, JNIEnv* env, jclass clazz, jmethodID methodID,
                                               va_list args);
VEN_API jboolean ven___CallStaticObjectMethod(jobject* result, JNIEnv* env, jclass clazz, jmethodID methodID,
                                              ...);
VEN_API jboolean ven___CallStaticBooleanMethodA(jboolean* result, JNIEnv* env, jclass clazz,
                                                jmethodID methodID, const jvalue* args);
VEN_API jboolean ven___CallStaticBooleanMethodV(jboolean* result, JNIEnv* env, jclass clazz,
                                                jmethodID methodID, va_list args);
VEN_API jboolean ven___CallStaticBooleanMethod(jboolean* result, JNIEnv* env, jclass clazz,
                                               jmethodID methodID, ...);
VEN_API jboolean ven___CallStaticByteMethodA(jbyte* result, JNIEnv* env, jclass clazz, jmethodID methodID,
                                             const jvalue* args);
VEN_API jboolean ven___CallStaticByteMethodV(jbyte* result, JNIEnv* env, jclass clazz, jmethodID methodID,
                                             va_list args);
VEN_API jboolean ven___CallStaticByteMethod(jbyte* result, JNIEnv* env, jclass clazz, jmethodID methodID,
                                            ...);
VEN_API jboolean ven___CallStaticCharMethodA(jchar* result, JNIEnv* env, jclass clazz, jmethodID methodID,
                                             const jvalue* args);
VEN_API jboolean ven___CallStaticCharMethodV(jchar* result, JNIEnv* env, jclass clazz, jmethodID methodID,
                                             va_list args);
VEN_API jboolean ven___CallStaticCharMethod(jchar* result, JNIEnv* env, jclass clazz, jmethodID methodID,
                                            ...);
VEN_API jboolean ven___CallStaticShortMethodA(jshort* result, JNIEnv* env, jclass clazz, jmethodID methodID,
                                              const jvalue* args);
VEN_API jboolean ven___CallStaticShortMethodV(jshort* result, JNIEnv* env, jclass clazz, jmethodID methodID,
                                              va_list args);
VEN_API jboolean ven___CallStaticShortMethod(jshort* result, JNIEnv* env, jclass clazz, jmethodID methodID,
                                             ...);
VEN_API jboolean ven___CallStaticIntMethodA(jint* result, JNIEnv* env, jclass clazz, jmethodID methodID,
                                            const jvalue* args);
VEN_API jboolean ven___CallStaticIntMethodV(jint* result, JNIEnv* env, jclass clazz, jmethodID methodID,
                                            va_list args);
VEN_API jboolean ven___CallStaticIntMethod(jint* result, JNIEnv* env, jclass clazz, jmethodID methodID, ...);
VEN_API jboolean ven___CallStaticLongMethodA(jlong* result, JNIEnv* env, jclass clazz, jmethodID methodID,
                                             const jvalue* args);
VEN_API jboolean ven___CallStaticLongMethodV(jlong* result, JNIEnv* env, jclass clazz, jmethodID methodID,
                                             va_list args);
VEN_API jboolean ven___CallStaticLongMethod(jlong* result, JNIEnv* env, jclass clazz, jmethodID methodID,
                                            ...);
VEN_API jboolean ven___CallStaticFloatMethodA(jfloat* result, JNIEnv* env, jclass clazz, jmethodID methodID,
                                              const jvalue* args);
VEN_API jboolean ven___CallStaticFloatMethodV(jfloat* result, JNIEnv* env, jclass clazz, jmethodID methodID,
                                              va_list args);
VEN_API jboolean ven___CallStaticFloatMethod(jfloat* result, JNIEnv* env, jclass clazz, jmethodID methodID,
                                             ...);
VEN_API jboolean ven___CallStaticDoubleMethodA(jdouble* result, JNIEnv* env, jclass clazz, jmethodID methodID,
                                               const jvalue* args);
VEN_API jboolean ven___CallStaticDoubleMethodV(jdouble* result, JNIEnv* env, jclass clazz, jmethodID methodID,
                                               va_list args);
VEN_API jboolean ven___CallStaticDoubleMethod(jdouble* result, JNIEnv* env, jclass clazz, jmethodID methodID,
                                              ...);

/* Strings: creation, lengths, pinned characters, regions (JNI_FALSE on failure), critical access. */
VEN_API jstring ven___NewString(JNIEnv* env, const jchar* unicodeChars, jsize len);
VEN_API jsize ven___GetStringLength(JNIEnv* env, jstring string);
VEN_API const jchar* ven___GetStringChars(JNIEnv* env, jstring string, jboolean* isCopy);
VEN_API void ven___ReleaseStringChars(JNIEnv* env, jstring string, const jchar* chars);
VEN_API jstring ven___NewStringUTF(JNIEnv* env, const char* bytes);
VEN_API jsize ven___GetStringUTFLength(JNIEnv* env, jstring string);
VEN_API const char* ven___GetStringUTFChars(JNIEnv* env, jstring string, jboolean* isCopy);
VEN_API void ven___ReleaseStringUTFChars(JNIEnv* env, jstring string, const char* utf);
VEN_API jboolean ven___GetStringRegion(JNIEnv* env, jstring str, jsize start, jsize len, jchar* buf);
VEN_API jboolean ven___GetStringUTFRegion(JNIEnv* env, jstring str, jsize start, jsize len, char* buf);
VEN_API const jchar* ven___GetStringCritical(JNIEnv* env, jstring string, jboolean* isCopy);
VEN_API void ven___ReleaseStringCritical(JNIEnv* env, jstring string, const jchar* carray);

/* Arrays of any type: length, object arrays, critical access (mode 0, JNI_COMMIT or JNI_ABORT). */
VEN_API jsize ven___GetArrayLength(JNIEnv* env, jarray array);
VEN_API jobjectArray ven___NewObjectArray(JNIEnv* env, jsize length, jclass elementClass,
                                          jobject initialElement);
VEN_API jboolean ven___SetObjectArrayElement(JNIEnv* env, jobjectArray array, jsize index, jobject value);
VEN_API void* ven___GetPrimitiveArrayCritical(JNIEnv* env, jarray array, jboolean* isCopy);
VEN_API void ven___ReleasePrimitiveArrayCritical(JNIEnv* env, jarray array, void* carray, jint mode);

/* Primitive array creation: NULL with the exception pending when the array cannot be made. */
VEN_API jbooleanArray ven___NewBooleanArray(JNIEnv* env, jsize length);
VEN_API jbyteArray ven___NewByteArray(JNIEnv* env, jsize length);
VEN_API jcharArray ven___NewCharArray(JNIEnv* env, jsize length);
VEN_API jshortArray ven___NewShortArray(JNIEnv* env, jsize length);
VEN_API jintArray ven___NewIntArray(JNIEnv* env, jsize length);
VEN_API jlongArray ven___NewLongArray(JNIEnv* env, jsize length);
VEN_API jfloatArray ven___NewFloatArray(JNIEnv* env, jsize length);
VEN_API jdoubleArray ven___NewDoubleArray(JNIEnv* env, jsize length);

/* Primitive array elements: pinning (NULL with the exception pending on failure). */
VEN_API jboolean* ven___GetBooleanArrayElements(JNIEnv* env, jbooleanArray array, jboolean* isCopy);
VEN_API jbyte* ven___GetByteArrayElements(JNIEnv* env, jbyteArray array, jboolean* isCopy);
VEN_API jchar* ven___GetCharArrayElements(JNIEnv* env, jcharArray array, jboolean* isCopy);
VEN_API jshort* ven___GetShortArrayElements(JNIEnv* env, jshortArray array, jboolean* isCopy);
VEN_API jint* ven___GetIntArrayElements(JNIEnv* env, jintArray array, jboolean* isCopy);
VEN_API jlong* ven___GetLongArrayElements(JNIEnv* env, jlongArray array, jboolean* isCopy);
VEN_API jfloat* ven___GetFloatArrayElements(JNIEnv* env, jfloatArray array, jboolean* isCopy);
VEN_API jdouble* ven___GetDoubleArrayElements(JNIEnv* env, jdoubleArray array, jboolean* isCopy);

/* Primitive array elements: release (mode 0, JNI_COMMIT or JNI_ABORT); a pending exception stays. */
VEN_API void ven___ReleaseBooleanArrayElements(JNIEnv* env, jbooleanArray array, jboolean* elems, jint mode);
VEN_API void ven___ReleaseByteArrayElements(JNIEnv* env, jbyteArray array, jbyte* elems, jint mode);
VEN_API void ven___ReleaseCharArrayElements(JNIEnv* env, jcharArray array, jchar* elems, jint mode);
VEN_API void ven___ReleaseShortArrayElements(JNIEnv* env, jshortArray array, jshort* elems, jint mode);
VEN_API void ven___ReleaseIntArrayElements(JNIEnv* env, jintArray array, jint* elems, jint mode);
VEN_API void ven___ReleaseLongArrayElements(JNIEnv* env, jlongArray array, jlong* elems, jint mode);
VEN_API void ven___ReleaseFloatArrayElements(JNIEnv* env, jfloatArray array, jfloat* elems, jint mode);
VEN_API void ven___ReleaseDoubleArrayElements(JNIEnv* env, jdoubleArray array, jdouble* elems, jint mode);

/* Primitive array regions read: JNI_FALSE with the exception pending when out of bounds. */
VEN_API jboolean ven___GetBooleanArrayRegion(JNIEnv* env, jbooleanArray array, jsize start, jsize len,
                                             jboolean* buf);
VEN_API jboolean ven___GetByteArrayRegion(JNIEnv* env, jbyteArray array, jsize start, jsize len, jbyte* buf);
VEN_API jboolean ven___GetCharArrayRegion(JNIEnv* env, jcharArray array, jsize start, jsize len, jchar* buf);
VEN_API jboolean ven___GetShortArrayRegion(JNIEnv* env, jshortArray array, jsize start, jsize len,
                                           jshort* buf);
VEN_API jboolean ven___GetIntArrayRegion(JNIEnv* env, jintArray array, jsize start, jsize len, jint* buf);
VEN_API jboolean ven___GetLongArrayRegion(JNIEnv* env, jlongArray array, jsize start, jsize len, jlong* buf);
VEN_API jboolean ven___GetFloatArrayRegion(JNIEnv* env, jfloatArray array, jsize start, jsize len,
                                           jfloat* buf);
VEN_API jboolean ven___GetDoubleArrayRegion(JNIEnv* env, jdoubleArray array, jsize start, jsize len,
                                            jdouble* buf);

/* Primitive array regions written: as the reads. */
VEN_API jboolean ven___SetBooleanArrayRegion(JNIEnv* env, jbooleanArray array, jsize start, jsize len,
                                             const jboolean* buf);
VEN_API jboolean ven___SetByteArrayRegion(JNIEnv* env, jbyteArray array, jsize start, jsize len,
                                          const jbyte* buf);
VEN_API jboolean ven___SetCharArrayRegion(JNIEnv* env, jcharArray array, jsize start, jsize len,
                                          const jchar* buf);
VEN_API jboolean ven___SetShortArrayRegion(JNIEnv* env, jshortArray array, jsize start, jsize len,
                                           const jshort* buf);
VEN_API jboolean ven___SetIntArrayRegion(JNIEnv* env, jintArray array, jsize start, jsize len,
                                         const jint* buf);
VEN_API jboolean ven___SetLongArrayRegion(JNIEnv* env, jlongArray array, jsize start, jsize len,
                                          const jlong* buf);
VEN_API jboolean ven___SetFloatArrayRegion(JNIEnv* env, jfloatArray array, jsize start, jsize len,
                                           const jfloat* buf);
VEN_API jboolean ven___SetDoubleArrayRegion(JNIEnv* env, jdoubleArray array, jsize start, jsize len,
                                            const jdouble* buf);

VEN_EXTERN_C_END

#endif
