// One row per exported wrapper with the required lines and texts of its checks; the families
// (fields, calls, primitive arrays) as one table row per type, expanded by a macro per family.
#include "wrapper/sweep.hpp"

namespace ven::test::wrapper
{

namespace
{

using Texts = std::vector<std::string>;
const Texts kEnv = {"env"};
const Texts kVirtual = {"env", "obj", "methodID"};
const Texts kNonvirtual = {"env", "obj", "clazz", "methodID"};
const Texts kStatic = {"env", "clazz", "methodID"};
const Texts kArray = {"env", "array"};
const Texts kNewArray = {"env", "length >= 0"};
const Texts kRegion = {"env", "array", "buf"};
const Texts kStringRegion = {"env", "str", "buf"};
const Texts kLookup = {"env", "clazz", "name", "sig"};
const Texts kString = {"env", "string"};

constexpr auto direct = Kind::direct, checkedResult = Kind::checkedResult, nonRaising = Kind::nonRaising,
               flagged = Kind::flagged;

#define ROW(Name, Member, ...) bind<&ven___##Name, &Jni::Member>("ven___" #Name, __VA_ARGS__)

// A checked-result row named after its JNI member.
#define CHECKED(Name, envLine, texts, consistencyLine, ...)                                                  \
    ROW(Name, Name,                                                                                          \
        {.kind = checkedResult, .line = envLine, .checks = texts, .resultLine = consistencyLine},            \
        __VA_ARGS__)

// An accessor checks env, its target, fieldID from `line` and stops on an exception at line + 9.
#define ACCESSOR(Name, envLine, target, ...)                                                                 \
    ROW(Name, Name,                                                                                          \
        {.kind = nonRaising,                                                                                 \
         .line = envLine,                                                                                    \
         .checks = {"env", target, "fieldID"},                                                               \
         .exceptionLine = envLine + 9},                                                                      \
        __VA_ARGS__)
#define FIELD_ROWS(Type, type, get, set, staticGet, staticSet)                                               \
    ACCESSOR(Get##Type##Field, get, "obj", object, fieldID),                                                 \
        ACCESSOR(Set##Type##Field, set, "obj", object, fieldID, Kept{sample<type>()}),                       \
        ACCESSOR(GetStatic##Type##Field, staticGet, "clazz", clazz, fieldID),                                \
        ACCESSOR(SetStatic##Type##Field, staticSet, "clazz", clazz, fieldID, Kept{sample<type>()})

// A, V and variadic form of a call; the variadic one runs the V twin's entry and lines.
#define CALL_FORMS(CallKind, Type, vDelivery, lineA, lineV, texts, ...)                                      \
    ROW(Call##CallKind##Type##MethodA, Call##CallKind##Type##MethodA,                                        \
        {.kind = flagged, .line = lineA, .checks = texts}, __VA_ARGS__, methodID, Kept{args}),               \
        ROW(Call##CallKind##Type##MethodV, Call##CallKind##Type##MethodV,                                    \
            {.kind = flagged, .line = lineV, .checks = texts, .delivery = vDelivery}, __VA_ARGS__, methodID, \
            VaList{}),                                                                                       \
        ROW(Call##CallKind##Type##Method, Call##CallKind##Type##MethodV,                                     \
            {.kind = flagged, .line = lineV, .checks = texts, .delivery = vDelivery}, __VA_ARGS__, methodID)
#define CALL_ROWS(Type, vDelivery, virtualA, virtualV, nonvirtualA, nonvirtualV, staticA, staticV)           \
    CALL_FORMS(, Type, vDelivery, virtualA, virtualV, kVirtual, object),                                     \
        CALL_FORMS(Nonvirtual, Type, vDelivery, nonvirtualA, nonvirtualV, kNonvirtual, object, clazz),       \
        CALL_FORMS(Static, Type, vDelivery, staticA, staticV, kStatic, clazz)

// The five functions of a primitive element type, from the line of each one's env check.
#define ARRAY_ROWS(Type, newLine, elementsLine, releaseLine, getRegionLine, setRegionLine)                   \
    CHECKED(New##Type##Array, newLine, kNewArray, newLine + 13, 0),                                          \
        CHECKED(Get##Type##ArrayElements, elementsLine, kArray, elementsLine + 13, array, Kept{isCopy}),     \
        ROW(Release##Type##ArrayElements, Release##Type##ArrayElements,                                      \
            {.kind = direct, .line = releaseLine, .checks = {"env", "array", "elems", kReleaseMode}}, array, \
            buffer, Mode{}),                                                                                 \
        ROW(Get##Type##ArrayRegion, Get##Type##ArrayRegion,                                                  \
            {.kind = flagged, .line = getRegionLine, .checks = kRegion}, array, Kept{1}, Kept{2}, buffer),   \
        ROW(Set##Type##ArrayRegion, Set##Type##ArrayRegion,                                                  \
            {.kind = flagged, .line = setRegionLine, .checks = kRegion}, array, Kept{1}, Kept{2}, buffer)

std::vector<Row> makeRows()
{
    const jobject object = sampleObject(false);
    const auto clazz = static_cast<jclass>(sampleObject(true));
    const auto string = static_cast<jstring>(object);
    const auto array = static_cast<jarray>(object); // never reaches JNI: every entry is answered
    const auto throwable = static_cast<jthrowable>(object);
    const auto fieldID = sample<jfieldID>();
    const auto methodID = sample<jmethodID>();
    const auto args = sample<const jvalue*>();
    const auto buffer = sample<void*>();
    const auto isCopy = sample<jboolean*>();
    const auto methods = sample<const JNINativeMethod*>();
    const auto chars = sample<const jchar*>();
    // clang-format off
    return {
        ROW(GetVersion, GetVersion, {.kind = direct, .line = 45, .checks = kEnv}),
        ROW(FindClass, FindClass, {.kind = checkedResult, .line = 56, .checks = {"env", "name"}, .resultLine = 69,
            .resultMessage = "(*env)->ExceptionCheck() == JNI_FALSE <> (*env)->ven___FindClass() == NULL"}, "a/B"),
        ROW(Throw, Throw, {.kind = Kind::throwing, .line = 81, .checks = {"env", "throwable"}, .statusLine = 86,
            .statusCondition = "(*env)->Throw( env, throwable ) == 0",
            .trail = {"ExceptionClear", "ExceptionCheck", "Throw", "ExceptionCheck"}}, throwable),
        ROW(ThrowNew, ThrowNew, {.kind = Kind::throwing, .line = 91, .checks = {"env", "clazz", "message"},
            .statusLine = 95, .statusCondition = "(*env)->ThrowNew( env, clazz, message ) == 0",
            .trail = {"ThrowNew", "ExceptionCheck"}}, clazz, "m"),
        ROW(ExceptionOccurred, ExceptionOccurred, {.kind = direct, .line = 100, .checks = kEnv}),
        ROW(ExceptionDescribe, ExceptionDescribe, {.kind = direct, .line = 106, .checks = kEnv}),
        ROW(ExceptionClear, ExceptionClear, {.kind = Kind::clearing, .line = 112, .checks = kEnv,
            .exceptionLine = 116, .trail = {"ExceptionClear", "ExceptionCheck"}}),
        ROW(FatalError, FatalError, {.kind = direct, .line = 120, .checks = {"env", "msg"}}, "m"),
        ROW(ExceptionCheck, ExceptionCheck, {.kind = direct, .line = 127, .checks = kEnv}),
        CHECKED(NewGlobalRef, 136, (Texts{"env", "obj"}), 149, object),
        ROW(DeleteGlobalRef, DeleteGlobalRef, {.kind = direct, .line = 161, .checks = {"env", "globalRef"}}, object),
        ROW(DeleteLocalRef, DeleteLocalRef, {.kind = direct, .line = 168, .checks = {"env", "localRef"}}, object),
        CHECKED(RegisterNatives, 178, (Texts{"env", "clazz", "methods", "nMethods >= 0"}), 195, clazz, methods, 0),
        CHECKED(UnregisterNatives, 210, (Texts{"env", "clazz"}), 225, clazz),
        CHECKED(EnsureLocalCapacity, 241, (Texts{"env", "capacity >= 0"}), 256, 0),
        CHECKED(PushLocalFrame, 275, (Texts{"env", "capacity >= 0"}), 290, 0),
        ROW(PopLocalFrame, PopLocalFrame, {.kind = nonRaising, .line = 308, .checks = kEnv, .exceptionLine = 315},
            Kept{object}),
        ROW(NewLocalRef, NewLocalRef, {.kind = nonRaising, .line = 328, .checks = kEnv, .resultLine = 342,
            .resultMessage = "ref != NULL <> (*env)->NewLocalRef(ref) == NULL", .exceptionLine = 339}, Kept{object}),
        CHECKED(NewWeakGlobalRef, 356, kEnv, 368, Kept{object}),
        ROW(DeleteWeakGlobalRef, DeleteWeakGlobalRef, {.kind = direct, .line = 380, .checks = {"env", "obj"}}, object),
        CHECKED(AllocObject, 390, (Texts{"env", "clazz"}), 403, clazz),
        CHECKED(NewObjectA, 429, kStatic, 443, clazz, methodID, Kept{args}),
        CHECKED(NewObjectV, 459, kStatic, 473, clazz, methodID, VaList{}),
        ROW(NewObject, NewObjectV, {.kind = checkedResult, .line = 459, .checks = kStatic, .resultLine = 473},
            clazz, methodID),
        ROW(GetObjectClass, GetObjectClass, {.kind = nonRaising, .line = 488, .checks = {"env", "obj"},
            .resultLine = 499, .resultMessage = "(*env)->GetObjectClass() == NULL", .exceptionLine = 496}, object),
        ROW(IsInstanceOf, IsInstanceOf, {.kind = nonRaising, .line = 513, .checks = {"env", "clazz"},
            .exceptionLine = 521}, Kept{jobject{}}, clazz),
        ROW(IsSameObject, IsSameObject, {.kind = nonRaising, .line = 534, .checks = kEnv, .exceptionLine = 541},
            Kept{object}, Kept{clazz}),
        ROW(MonitorEnter, MonitorEnter, {.kind = nonRaising, .line = 5094, .checks = {"env", "obj"},
            .exceptionLine = 5102, .statusLine = 5100, .statusCondition = "(*env)->MonitorEnter( env, obj ) == 0"},
            object),
        ROW(MonitorLeave, MonitorExit, {.kind = direct, .line = 5110, .checks = {"env", "obj"}, .statusLine = 5113,
            .statusCondition = "(*env)->MonitorExit( env, obj ) == 0"}, object),

        CHECKED(GetFieldID, 554, kLookup, 569, clazz, "f", "I"),
        CHECKED(GetStaticFieldID, 2548, kLookup, 2563, clazz, "f", "I"),
        CHECKED(GetMethodID, 971, kLookup, 986, clazz, "m", "()V"),
        CHECKED(GetStaticMethodID, 2965, kLookup, 2980, clazz, "m", "()V"),
        //         Type     type      get  set  static get, set
        FIELD_ROWS(Object,  jobject,  584, 781, 2578, 2775),
        FIELD_ROWS(Boolean, jboolean, 606, 802, 2600, 2796),
        FIELD_ROWS(Byte,    jbyte,    628, 823, 2622, 2817),
        FIELD_ROWS(Char,    jchar,    650, 844, 2644, 2838),
        FIELD_ROWS(Short,   jshort,   672, 865, 2666, 2859),
        FIELD_ROWS(Int,     jint,     694, 886, 2688, 2880),
        FIELD_ROWS(Long,    jlong,    716, 907, 2710, 2901),
        FIELD_ROWS(Float,   jfloat,   738, 928, 2732, 2922),
        FIELD_ROWS(Double,  jdouble,  760, 949, 2754, 2943),
        //        Type     V forms' delivery  virtual A, V  nonvirtual A, V  static A, V
        CALL_ROWS(Void,    Delivery::none,    1119, 1443,   1879, 2213,      3106, 3430),
        CALL_ROWS(Object,  Delivery::replace, 1147, 1471,   1908, 2242,      3134, 3458),
        CALL_ROWS(Boolean, Delivery::none,    1180, 1504,   1942, 2276,      3167, 3491),
        CALL_ROWS(Byte,    Delivery::none,    1213, 1537,   1976, 2310,      3200, 3524),
        CALL_ROWS(Char,    Delivery::none,    1246, 1570,   2010, 2344,      3233, 3557),
        CALL_ROWS(Short,   Delivery::none,    1279, 1603,   2044, 2378,      3266, 3590),
        CALL_ROWS(Int,     Delivery::none,    1312, 1636,   2078, 2412,      3299, 3623),
        CALL_ROWS(Long,    Delivery::none,    1345, 1669,   2112, 2446,      3332, 3656),
        CALL_ROWS(Float,   Delivery::none,    1378, 1702,   2146, 2480,      3365, 3689),
        CALL_ROWS(Double,  Delivery::none,    1411, 1735,   2180, 2514,      3398, 3722),

        CHECKED(NewString, 3756, (Texts{"env", "unicodeChars || len == 0", "len >= 0"}), 3770, chars, 0),
        CHECKED(NewStringUTF, 3847, (Texts{"env", "bytes"}), 3860, "a"),
        CHECKED(GetStringChars, 3811, kString, 3824, string, Kept{isCopy}),
        CHECKED(GetStringUTFChars, 3900, kString, 3913, string, Kept{isCopy}),
        CHECKED(GetStringCritical, 3990, kString, 4003, string, Kept{isCopy}),
        ROW(ReleaseStringChars, ReleaseStringChars, {.kind = direct, .line = 3836,
            .checks = {"env", "string", "chars"}}, string, chars),
        ROW(ReleaseStringUTFChars, ReleaseStringUTFChars, {.kind = direct, .line = 3925,
            .checks = {"env", "string", "utf"}}, string, "a"),
        ROW(ReleaseStringCritical, ReleaseStringCritical, {.kind = direct, .line = 4015,
            .checks = {"env", "string", "carray"}}, string, chars),
        ROW(GetStringLength, GetStringLength, {.kind = nonRaising, .line = 3785, .checks = kString,
            .resultLine = 3796, .resultMessage = "(*env)->GetStringLength() < 0", .exceptionLine = 3793}, string),
        ROW(GetStringUTFLength, GetStringUTFLength, {.kind = nonRaising, .line = 3875, .checks = kString,
            .resultLine = 3886, .resultMessage = "(*env)->GetStringUTFLength() < 0", .exceptionLine = 3883}, string),
        ROW(GetStringRegion, GetStringRegion, {.kind = flagged, .line = 3936, .checks = kStringRegion},
            string, Kept{1}, Kept{2}, buffer),
        ROW(GetStringUTFRegion, GetStringUTFRegion, {.kind = flagged, .line = 3963, .checks = kStringRegion},
            string, Kept{1}, Kept{2}, buffer),

        ROW(GetArrayLength, GetArrayLength, {.kind = nonRaising, .line = 4026, .checks = kArray, .resultLine = 4037,
            .resultMessage = "(*env)->array() < 0", .exceptionLine = 4034}, array),
        CHECKED(NewObjectArray, 4051, (Texts{"env", "length >= 0", "elementClass"}), 4065, 0, clazz, Kept{jobject{}}),
        ROW(SetObjectArrayElement, SetObjectArrayElement, {.kind = flagged, .line = 4080, .checks = kArray},
            array, Kept{1}, Kept{jobject{}}),
        CHECKED(GetPrimitiveArrayCritical, 5058, kArray, 5071, array, Kept{isCopy}),
        ROW(ReleasePrimitiveArrayCritical, ReleasePrimitiveArrayCritical, {.kind = direct, .line = 5083,
            .checks = {"env", "array", "carray", kReleaseMode}}, array, buffer, Mode{}),
        //         Type     New   Elements Release GetRegion SetRegion
        ARRAY_ROWS(Boolean,  4106, 4330,    4551,   4626,     4842),
        ARRAY_ROWS(Byte,     4134, 4358,    4560,   4653,     4869),
        ARRAY_ROWS(Char,     4162, 4386,    4569,   4680,     4896),
        ARRAY_ROWS(Short,    4190, 4414,    4578,   4707,     4923),
        ARRAY_ROWS(Int,      4218, 4442,    4587,   4734,     4950),
        ARRAY_ROWS(Long,     4246, 4470,    4596,   4761,     4977),
        ARRAY_ROWS(Float,    4274, 4498,    4605,   4788,     5004),
        ARRAY_ROWS(Double,   4302, 4526,    4614,   4815,     5031),
    };
    // clang-format on
}

} // namespace

// Made on the first row's use, inside a test's frame, which drops the local references.
jobject sampleObject(bool isClass)
{
    JNIEnv* env = mainEnv();
    static const jobject string = env->NewGlobalRef(env->NewStringUTF("sample"));
    static const jobject stringClass = env->NewGlobalRef(env->FindClass("java/lang/String"));
    return isClass ? stringClass : string;
}

jclass injectedErrorClass()
{
    static const jobject error = mainEnv()->NewGlobalRef(mainEnv()->FindClass("java/lang/OutOfMemoryError"));
    return static_cast<jclass>(error);
}

const std::vector<Row>& rows()
{
    static const std::vector<Row> all = makeRows();
    return all;
}

} // namespace ven::test::wrapper
