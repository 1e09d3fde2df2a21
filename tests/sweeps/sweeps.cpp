// Sweeps every integration and class support function, one row each, built from the library's
// own family tables through one template per kind, and a table of the sweep's own for the
// functions that belong to no family. Per row: exception state after success, failure and each
// argument check in order; the success path at its floor; the out-parameter's replacement; an
// OutOfMemoryError in each fallible JNI call of its success path; no JNI call inside a critical
// region; no local reference, ks object or raw block left behind; completeness.
#include <array>
#include <cctype>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <vector>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

#include <gmock/gmock.h>

#include "support/exported.hpp"
#include "support/jni_table.hpp"
#include "support/ven_test.hpp"
#include "ven/integration/array_table.hpp"
#include "ven/integration/call_table.hpp"
#include "ven/integration/field_table.hpp"
#include "ven/integration/string_table.hpp"
#include "ven/java/lang/boxed_table.hpp"
#include "ven/java/lang/throwable_table.hpp"
#include "ven/java/util/collection_table.hpp"
#include "ven/ven.h"

namespace ven::sweeps
{
namespace
{

using namespace ven::test;
using Entry = JNINativeInterface_;

// Arguments that make the function succeed, make its JNI call fail, or that it refuses itself.
enum class Variant { Succeed, Fail, Bad };

// What a success does to the exception pending on entry.
enum class OnSuccess {
    Keeps,    // it stays pending, the same object
    Throws,   // replaced by the function's own (Case::thrown), through ThrowNew
    Rethrows, // as Throws, through Throw, which clears first
    Traces,   // it stays pending; the result tells about the stream only
};

// act runs the function on the env given (real or FaultEnv); cleanup undoes, on the real env
// with nothing pending, what the preparation and a success did.
struct Prepared {
    std::function<KS_BOOL(JNIEnv*, lgStream*)> act{};
    std::function<void()> cleanup = [] {};
    jobject* out = nullptr; // the local reference out-parameter, if any: a success hands one back
};

// What a preparation passes: for Bad, the checked arguments from firstBad on (in the order the
// function checks them) are bad and the others good, so that check firstBad is the one to fail.
struct Arguments {
    Variant variant = Variant::Succeed;
    std::size_t firstBad = 0;
    bool below = false; // a value beyond a range of the bad ones lies below it

    bool bad(std::size_t check) const { return variant == Variant::Bad && check >= firstBad; }
    operator Variant() const { return variant; }
};

// Each const char* but thrown says why a rule is waived for the function (nullptr: it holds).
struct Case {
    std::string name{};
    std::function<Prepared(Arguments)> prepare{}; // called only for the variants that apply
    // The messages of its argument failures, "<function>: <condition>", in the order of the checks.
    std::vector<std::string> checks{};
    // The JNI calls of a success with nothing pending, in order (none given: one guarded call,
    // the exception query before and after it), and the raw blocks it takes from ksMemAlloc*.
    std::vector<std::string> floor{};
    int blocks = 0;
    const char* cannotFail = nullptr; // no argument makes its JNI call fail: no Fail
    OnSuccess onSuccess = OnSuccess::Keeps;
    const char* thrown = nullptr;          // the class a Throws or Rethrows case leaves pending
    const char* failThrowsNew = nullptr;   // Fail throws through ThrowNew, drawing the pending warning
    const char* keepsOnFailure = nullptr;  // a failure may leave the new reference in out
    const char* untracedFailure = nullptr; // a failed JNI call leaves no trace line
    // A success makes, with an exception pending, a JNI call allowed only with none pending.
    const char* successWarns = nullptr;
};

// The objects of the fixtures and the JDK, as global references, made once.
struct World {
    jclass fields, methods, natives, object;
    jobject fieldsObj, badTextFields, methodsObj, childObj, list, immutableList, toStringThrowsObj;
    jstring text, badText, longText;
    jthrowable e1;    // the exception pending in the exception-state sweep
    jarray arrays[8]; // boolean, byte, char, short, int, long, float, double; 4 elements each
    jobjectArray objectArray;
};
World& world();

using enum Variant;

constexpr KS_INT kBeyondJint = KS_INT{1} << 40;
constexpr KS_INT kHugeLength = INT32_MAX; // beyond the VM's array limit: a prompt OutOfMemoryError
constexpr std::size_t kUnchecked = SIZE_MAX;

template <auto Member, typename... A> auto jni(JNIEnv* env, A... args)
{
    return (env->functions->*Member)(env, args...);
}

jobject global(jobject local)
{
    jobject made = mainEnv()->NewGlobalRef(local);
    mainEnv()->DeleteLocalRef(local);
    return made;
}

jclass globalClass(const char* name)
{
    return static_cast<jclass>(global(findClass(mainEnv(), name)));
}

// Arguments by variant, resolved when a run is prepared: good; fail for the Fail variant; bad
// (NULL unless given) once the check that tests it is among the bad ones.
template <typename T>
auto arg(std::size_t check, T good, std::type_identity_t<T> fail, std::type_identity_t<T> bad = T{})
{
    return [=](Arguments a) { return a.bad(check) ? bad : a == Fail ? fail : good; };
}

template <typename T> auto arg(std::size_t check, T good)
{
    return arg(check, good, good);
}

template <typename T> auto failing(T good, std::type_identity_t<T> fail)
{
    return [=](Arguments a) { return a == Fail ? fail : good; };
}

// A length: negative at check, beyond jint's range at the next one.
auto length(std::size_t check, KS_INT good, KS_INT fail)
{
    return [=](Arguments a) {
        return a.bad(check) ? -1 : a.bad(check + 1) ? kBeyondJint : a == Fail ? fail : good;
    };
}

// A KS_INT narrowed to jint: beyond its range (above or below) once check is among the bad ones.
auto beyond(std::size_t check, KS_INT good, KS_INT fail)
{
    return [=](Arguments a) {
        return a.bad(check) ? (a.below ? -kBeyondJint : kBeyondJint) : a == Fail ? fail : good;
    };
}

// A pointer argument that keeps what it points to alive as long as the run holds it.
template <typename T> struct Kept {
    T* pointer;
    std::shared_ptr<void> keep;
    operator T*() const { return pointer; }
};

// Room for n elements, NULL from check on.
template <typename T, std::size_t n = 16> auto room(std::size_t check)
{
    return [=](Arguments a) {
        auto block = std::make_shared<std::array<T, n>>();
        return Kept<T>{a.bad(check) ? nullptr : block->data(), block};
    };
}

// A new ks object for each run, let go of with it; NULL from check on.
template <typename Make> auto fresh(Make make, std::size_t check = kUnchecked)
{
    return [=](Arguments a) {
        auto* object = check != kUnchecked && a.bad(check) ? nullptr : make();
        return Kept<std::remove_pointer_t<decltype(object)>>{object,
                                                             std::shared_ptr<void>(object, ksObjRelease)};
    };
}

template <typename T> auto resolve(const T& argument, Arguments a)
{
    if constexpr (std::is_invocable_v<T, Arguments>) {
        return argument(a);
    } else {
        return argument;
    }
}

// A call with an out-parameter; nullResult passes NULL in its place (the bad argument).
template <typename Out>
Prepared withResult(
    bool nullResult, std::function<KS_BOOL(Out*, JNIEnv*, lgStream*)> call,
    std::function<void()> restore = [] {})
{
    auto slot = std::make_shared<Out>();
    Prepared prepared{
        [=](JNIEnv* env, lgStream* trace) { return call(nullResult ? nullptr : slot.get(), env, trace); },
        [=] {
            // What the out-parameter holds is let go of: local references and ks objects.
            if constexpr (std::is_convertible_v<Out, jobject>) {
                mainEnv()->DeleteLocalRef(*slot);
            } else if constexpr (std::is_same_v<Out, ksString*> || std::is_same_v<Out, ksBuffer*>) {
                ksObjRelease(*slot);
            }
            restore();
        }};
    if constexpr (std::is_convertible_v<Out, jobject>) {
        prepared.out = reinterpret_cast<jobject*>(slot.get());
    }
    return prepared;
}

using Prepare = std::function<Prepared(Arguments)>;

// f with its out-parameter, NULL from check result on, then the arguments given.
template <std::size_t result = 0, typename Out, typename... P, typename... A>
Prepare outCall(KS_BOOL (*f)(Out*, JNIEnv*, lgStream*, P...), A... args)
{
    return [=](Arguments a) {
        return withResult<Out>(a.bad(result),
                               [f, ... resolved = resolve(args, a)](Out* r, JNIEnv* e, lgStream* t) {
                                   return f(r, e, t, resolved...);
                               });
    };
}

template <typename... P, typename... A> Prepare plainCall(KS_BOOL (*f)(JNIEnv*, lgStream*, P...), A... args)
{
    return [=](Arguments a) {
        return Prepared{
            [f, ... resolved = resolve(args, a)](JNIEnv* e, lgStream* t) { return f(e, t, resolved...); }};
    };
}

// With undo run at cleanup after a success (an entered monitor, a pushed frame, natives registered).
Prepare undoing(Prepare prepare, std::function<void()> undo)
{
    return [=](Arguments a) {
        Prepared p = prepare(a);
        auto done = std::make_shared<KS_BOOL>(KS_FALSE);
        p.act = [=, act = p.act](JNIEnv* e, lgStream* t) { return *done = act(e, t); };
        p.cleanup = [=] {
            if (*done) {
                undo();
            }
        };
        return p;
    };
}

// The fixtures' members are named after the function: venGetStaticIntField reads staticIntField,
// venCallNonvirtualIntMethod calls intGet, venCallStaticVoidMethod calls staticVoidRun. Returns
// the member's name and signature.
std::pair<std::string, std::string> memberOf(std::string_view function, bool method)
{
    const std::size_t prefix = method ? 7 : 6;
    std::string name(function.substr(prefix, function.find(method ? "Method" : "Field") - prefix));
    name = name.starts_with("Nonvirtual") ? name.substr(10) : name;
    const std::string type = name.starts_with("Static") ? name.substr(6) : name;
    name[0] = static_cast<char>(std::tolower(name[0]));
    const std::string sig = type == "Boolean"                      ? "Z"
                            : type == "Long"                       ? "J"
                            : type == "Object" || type == "String" ? "Ljava/lang/" + type + ";"
                                                                   : type.substr(0, 1);
    return method ? std::pair{name + (sig == "V" ? "Run" : "Get"), "()" + sig}
                  : std::pair{name + "Field", sig};
}

enum class FieldKind { Get, Set, GetString, SetString };

std::vector<std::string> operator+(std::vector<std::string> first, const std::vector<std::string>& second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

// The string forms check through the object accessor first, then the text's conversion.
const char* const kConversionResultCheck = "venStringToKsString: result != ((void *)0)";

// Floors of success paths: a call the wrapper convention guards (the exception query before and
// after it), a call it does not guard, and the conversion of a short Java string's text. A
// composed operation asks once that nothing is pending, then pays only the queries its calls'
// own checks need.
std::vector<std::string> guarded(const std::string& call)
{
    return {"ExceptionOccurred", call, "ExceptionCheck"};
}

std::vector<std::string> operator+(std::vector<std::string> first, const std::string& unguarded)
{
    first.push_back(unguarded);
    return first;
}

const std::vector<std::string> kTextConversion = {"ExceptionCheck", "GetStringLength", "ExceptionCheck",
                                                  "GetStringRegion", "ExceptionCheck"};
const std::vector<std::string> kLongTextConversion = {"ExceptionCheck", "GetStringLength", "ExceptionCheck",
                                                      "GetStringCritical", "ReleaseStringCritical"};

// A composed operation of the class support: the class found, a method looked up on it and called,
// the class let go. One query at the start; after a call, one only where JNI does not allow it to
// raise (its check is kept) or where its result does not tell (a Java method's), as `classCall` and
// `call` say.
std::vector<std::string> throughClass(const std::vector<std::string>& classCall, const char* lookUp,
                                      const std::vector<std::string>& call)
{
    return std::vector<std::string>{"ExceptionCheck"} + classCall + lookUp + call + "DeleteLocalRef";
}
const std::vector<std::string> kObjectClass = {"GetObjectClass", "ExceptionCheck"};

template <FieldKind kind, typename Target, typename Ven, auto F>
Case fieldCase(const char* name, const char* callee, const char* rangeCondition)
{
    constexpr bool isStatic = std::is_same_v<Target, jclass>;
    constexpr bool text = kind == FieldKind::GetString || kind == FieldKind::SetString;
    constexpr bool reads = kind == FieldKind::Get || kind == FieldKind::GetString;
    Case row{name};
    // Checked in order: result (value readers), target, fieldID, the range (writers); the string
    // readers test result last, in the conversion.
    constexpr std::size_t first = kind == FieldKind::Get ? 1 : 0;
    row.prepare = [name](Arguments arguments) -> Prepared {
        World& w = world();
        JNIEnv* env = mainEnv();
        const auto [field, sig] = memberOf(name, false);
        jfieldID id = isStatic ? env->GetStaticFieldID(w.fields, field.c_str(), sig.c_str())
                               : env->GetFieldID(w.fields, field.c_str(), sig.c_str());
        auto target = static_cast<Target>(isStatic            ? w.fields
                                          : arguments == Fail ? w.badTextFields
                                                              : w.fieldsObj);
        target = arguments.bad(first) ? Target{} : target;
        id = arguments.bad(first + 1) ? nullptr : id;
        if constexpr (reads) {
            std::function<void()> restore = [] {};
            // Beyond the short-text path, so that the instance string field is read in a critical region.
            if (kind == FieldKind::GetString && !isStatic && arguments == Succeed) {
                env->SetObjectField(w.fieldsObj, id, w.longText);
            }
            if (arguments == Fail && isStatic) {
                env->SetStaticObjectField(w.fields, id, w.badText);
                restore = [id] { mainEnv()->SetStaticObjectField(world().fields, id, world().text); };
            }
            return withResult<Ven>(
                arguments.bad(kind == FieldKind::Get ? 0 : 2),
                [=](Ven* r, JNIEnv* e, lgStream* t) { return F(r, e, t, target, id); }, restore);
        } else if constexpr (text) {
            return plainCall(F, target, id,
                             fresh([] { return ksStringCreateFromCstr("written", -1); }))(arguments);
        } else {
            if constexpr (std::is_same_v<Ven, jobject>) {
                return plainCall(F, target, id, w.text)(arguments);
            } else { // a value the writer accepts, or one beyond its range test
                const auto beyond = Ven(std::is_same_v<Ven, KS_CHAR> ? 0x110000 : kBeyondJint);
                return plainCall(F, target, id, arg(2, Ven{1}, Ven{1}, beyond))(arguments);
            }
        }
    };
    const std::string reporter = text ? std::string(callee) + ": " : "";
    row.checks = {reporter + (isStatic ? "clazz != NULL" : "obj != NULL"), reporter + "fieldID != NULL"};
    if (kind == FieldKind::Get) {
        row.checks.insert(row.checks.begin(), "result != NULL");
    } else if (kind == FieldKind::GetString || rangeCondition != nullptr) {
        row.checks.push_back(kind == FieldKind::GetString ? kConversionResultCheck : rangeCondition);
    }
    const std::string objectMember = isStatic ? "StaticObjectField" : "ObjectField";
    if constexpr (kind == FieldKind::GetString) {
        row.floor = std::vector<std::string>{"ExceptionCheck", "Get" + objectMember} +
                    (isStatic ? kTextConversion : kLongTextConversion) + "DeleteLocalRef";
        row.blocks = 1;
    } else if constexpr (kind == FieldKind::SetString) {
        row.floor =
            std::vector<std::string>{"ExceptionCheck", "NewString", "Set" + objectMember, "ExceptionCheck"} +
            "DeleteLocalRef";
    }
    if constexpr (kind != FieldKind::GetString) {
        row.cannotFail = text ? "the text of a ksString always makes a Java string but for want of memory"
                              : "a field access through a valid ID raises nothing";
    } else {
        row.failThrowsNew = "an ill-formed text is reported as an AssertionError thrown through ThrowNew";
    }
    return row;
}

enum class Form { Void, Value, VaList, String };
enum class Kind { Virtual, Nonvirtual, Static };

struct Target {
    jobject obj;
    jclass clazz;
    jmethodID id;
};

template <Kind kind, typename F, typename... Lead> KS_BOOL invoke(F f, Target t, Lead... lead)
{
    if constexpr (kind == Kind::Virtual) {
        return f(lead..., t.obj, t.id);
    } else if constexpr (kind == Kind::Nonvirtual) {
        return f(lead..., t.obj, t.clazz, t.id);
    } else {
        return f(lead..., t.clazz, t.id);
    }
}

// The va_list forms, called from a variable argument list of the sweep's own.
template <Kind kind, auto F> KS_BOOL viaVaList(Target t, jobject* r, JNIEnv* e, lgStream* trace, ...)
{
    va_list args;
    va_start(args, trace);
    const KS_BOOL ok = invoke<kind>([&](auto... lead) { return F(lead..., args); }, t, r, e, trace);
    va_end(args);
    return ok;
}

// Methods.failure set for the Fail variant makes the called method throw.
std::function<void()> failMethods(Variant variant)
{
    if (variant != Fail) {
        return [] {};
    }
    JNIEnv* env = mainEnv();
    jfieldID failure = env->GetStaticFieldID(world().methods, "failure", "Ljava/lang/Throwable;");
    env->SetStaticObjectField(world().methods, failure,
                              makeThrowable(env, "fixtures/FixtureException", "requested"));
    return [failure] { mainEnv()->SetStaticObjectField(world().methods, failure, nullptr); };
}

template <Form form, Kind kind, typename Ven, auto F> Case callCase(const char* name, const char* callee)
{
    constexpr bool isStatic = kind == Kind::Static;
    Case row{name};
    // Checked in order: result (value forms), then obj, clazz and methodID as the kind takes them;
    // the string forms test result last, in the conversion.
    constexpr std::size_t first = form == Form::Value || form == Form::VaList ? 1 : 0;
    constexpr std::size_t targets = kind == Kind::Nonvirtual ? 3 : 2;
    row.prepare = [name](Arguments arguments) -> Prepared {
        World& w = world();
        const auto [method, sig] = memberOf(name, true);
        Target t{kind == Kind::Nonvirtual ? w.childObj : w.methodsObj, w.methods,
                 isStatic ? mainEnv()->GetStaticMethodID(w.methods, method.c_str(), sig.c_str())
                          : mainEnv()->GetMethodID(w.methods, method.c_str(), sig.c_str())};
        t.obj = arguments.bad(first) && !isStatic ? nullptr : t.obj;
        t.clazz = arguments.bad(first + targets - 2) && kind != Kind::Virtual ? nullptr : t.clazz;
        t.id = arguments.bad(first + targets - 1) ? nullptr : t.id;
        if constexpr (form == Form::Void) {
            return Prepared{[=](JNIEnv* e, lgStream* trace) { return invoke<kind>(F, t, e, trace); },
                            failMethods(arguments)};
        } else {
            return withResult<Ven>(
                arguments.bad(form == Form::String ? targets : 0),
                [=](Ven* r, JNIEnv* e, lgStream* trace) {
                    if constexpr (form == Form::VaList) {
                        return viaVaList<kind, F>(t, r, e, trace);
                    } else {
                        return invoke<kind>(F, t, r, e, trace);
                    }
                },
                failMethods(arguments));
        }
    };
    const std::string reporter = std::string(form == Form::String ? callee : name) + ": ";
    const bool takes[] = {first == 1, !isStatic, kind != Kind::Virtual, true};
    const char* conditions[] = {"result != NULL", "obj != NULL", "clazz != NULL", "methodID != NULL"};
    for (std::size_t check = 0; check < std::size(conditions); ++check) {
        if (takes[check]) {
            row.checks.push_back(reporter + conditions[check]);
        }
    }
    if (form == Form::String) {
        row.checks.push_back(kConversionResultCheck);
        const char* kindName = kind == Kind::Virtual ? "" : kind == Kind::Static ? "Static" : "Nonvirtual";
        row.floor =
            std::vector<std::string>{"ExceptionCheck", std::string("Call") + kindName + "ObjectMethodV"} +
            kTextConversion + "DeleteLocalRef";
        row.blocks = 1;
    }
    return row;
}

enum class ArrayKind { New, Pin, Release, GetRegion, SetRegion };

template <typename Element> struct Primitive;
#define SWEEP_PRIMITIVE(Element, Type, index)                                                                \
    template <> struct Primitive<Element> {                                                                  \
        static constexpr int kSlot = index;                                                                  \
        static constexpr auto kPin = &Entry::Get##Type##ArrayElements;                                       \
        static constexpr auto kUnpin = &Entry::Release##Type##ArrayElements;                                 \
        static constexpr auto kNew = &Entry::New##Type##Array;                                               \
    };
SWEEP_PRIMITIVE(jboolean, Boolean, 0)
SWEEP_PRIMITIVE(jbyte, Byte, 1)
SWEEP_PRIMITIVE(jchar, Char, 2)
SWEEP_PRIMITIVE(jshort, Short, 3)
SWEEP_PRIMITIVE(jint, Int, 4)
SWEEP_PRIMITIVE(jlong, Long, 5)
SWEEP_PRIMITIVE(jfloat, Float, 6)
SWEEP_PRIMITIVE(jdouble, Double, 7)

// A pinning row, its success undone at once: check 0 passes NULL for the result, check 1 for
// what is pinned.
template <typename Elements, typename Target, typename Copy>
Case pinCase(const char* name, KS_BOOL (*pin)(Elements*, JNIEnv*, lgStream*, Target, Copy*),
             std::type_identity_t<Target> target, std::type_identity_t<void (*)(Target, Elements)> unpin,
             bool askCopy = true)
{
    return {
        .name = name,
        .prepare =
            [=](Arguments a) {
                return Prepared{[=, held = a.bad(1) ? nullptr : target](JNIEnv* env, lgStream* trace) {
                    Elements elements = nullptr;
                    Copy isCopy{};
                    const KS_BOOL ok =
                        pin(a.bad(0) ? nullptr : &elements, env, trace, held, askCopy ? &isCopy : nullptr);
                    if (ok) {
                        unpin(held, elements);
                    }
                    return ok;
                }};
            },
        .checks = {"result != NULL", std::is_same_v<Target, jstring> ? "string != NULL" : "array != NULL"},
        .cannotFail = "pinning or copying fails only for want of memory (left to the fault sweep)"};
}

// The release of what the preparation pinned, undone at cleanup if it fails: check 0 passes NULL
// for the target, check 1 NULL for what is released (a dummy otherwise), check 2 badMode. Its
// floor is by default the JNI function of the same name.
template <typename Target, typename Elements>
Case releaseCase(const char* name, Target target, Elements (*pin)(Target),
                 std::function<KS_BOOL(JNIEnv*, lgStream*, Target, Elements, jint)> release,
                 void (*unpin)(Target, Elements), std::vector<std::string> checks, jint badMode = 0,
                 std::vector<std::string> floor = {}, const char* cannotFail = "a release raises nothing")
{
    static jlong dummy[4];
    return {.name = name,
            .prepare =
                [=](Arguments a) {
                    auto pinned = std::make_shared<Elements>(a == Succeed ? pin(target) : nullptr);
                    auto otherwise = a.bad(1) ? nullptr : static_cast<Elements>(static_cast<void*>(dummy));
                    return Prepared{[=, held = a.bad(0) ? nullptr : target](JNIEnv* e, lgStream* t) {
                                        const KS_BOOL ok = release(e, t, held, *pinned ? *pinned : otherwise,
                                                                   a.bad(2) ? badMode : 0);
                                        *pinned = ok ? nullptr : *pinned;
                                        return ok;
                                    },
                                    [=] {
                                        if (*pinned != nullptr) {
                                            unpin(target, *pinned);
                                        }
                                    }};
                },
            .checks = std::move(checks),
            .floor = floor.empty() ? std::vector{std::string(name).substr(3)} : floor,
            .cannotFail = cannotFail};
}

const char* const kModeCheck = "mode == 0 || mode == JNI_COMMIT || mode == JNI_ABORT";

template <ArrayKind kind, typename Element, typename Array, auto F> Case arrayCase(const char* name)
{
    using P = Primitive<Element>;
    auto array = static_cast<Array>(world().arrays[P::kSlot]);
    auto unpin = [](Array pinned, Element* elements) {
        jni<P::kUnpin>(mainEnv(), pinned, elements, JNI_ABORT);
    };
    if constexpr (kind == ArrayKind::New) {
        return {.name = name,
                .prepare = outCall(F, length(1, 3, kHugeLength)),
                .checks = {"result != NULL", "length >= 0", "VEN_KS_INT_TO_JSIZE_CONV_OK( length )"}};
    } else if constexpr (kind == ArrayKind::Pin) {
        return pinCase(name, F, array, unpin);
    } else if constexpr (kind == ArrayKind::Release) {
        return releaseCase<Array, Element*>(
            name, array, [](Array pinned) { return jni<P::kPin>(mainEnv(), pinned, nullptr); }, F, unpin,
            {"array != NULL", "elems != NULL", kModeCheck}, -1);
    } else {
        return {.name = name,
                .prepare =
                    plainCall(F, arg(0, array), beyond(1, 0, 10), beyond(2, 2, 2), room<Element, 4>(3)),
                .checks = {"array != NULL", "VEN_KS_INT_TO_JSIZE_CONV_OK( start )",
                           "VEN_KS_INT_TO_JSIZE_CONV_OK( len )", "buf != NULL"}};
    }
}

// The JNI pair of each pinning wrapper.
#define SWEEP_UNPIN_ven___GetStringChars &Entry::ReleaseStringChars
#define SWEEP_UNPIN_ven___GetStringUTFChars &Entry::ReleaseStringUTFChars
#define SWEEP_UNPIN_ven___GetStringCritical &Entry::ReleaseStringCritical
#define SWEEP_PIN_ven___ReleaseStringChars &Entry::GetStringChars, &Entry::ReleaseStringChars
#define SWEEP_PIN_ven___ReleaseStringUTFChars &Entry::GetStringUTFChars, &Entry::ReleaseStringUTFChars
#define SWEEP_PIN_ven___ReleaseStringCritical &Entry::GetStringCritical, &Entry::ReleaseStringCritical

template <typename Char, auto F, auto Unpin> Case stringPinCase(const char* name)
{
    return pinCase(name, F, world().text,
                   [](jstring s, const Char* chars) { jni<Unpin>(mainEnv(), s, chars); });
}

template <typename Char, auto F, auto Pin, auto Unpin> Case stringReleaseCase(const char* name)
{
    return releaseCase<jstring, const Char*>(
        name, world().text, [](jstring s) { return jni<Pin>(mainEnv(), s, nullptr); },
        [](JNIEnv* e, lgStream* t, jstring s, const Char* chars, jint) { return F(e, t, s, chars); },
        [](jstring s, const Char* chars) { jni<Unpin>(mainEnv(), s, chars); }, {"string != NULL"});
}

template <typename Char, auto F> Case stringRegionCase(const char* name)
{
    return {.name = name,
            .prepare = plainCall(F, arg(0, world().text), failing(jsize{0}, 100), 2, room<Char>(1)),
            .checks = {"str != NULL", "buf != NULL"}};
}

template <typename Element, typename Array, auto F>
Case copyCase(const char* name, int slot, const char* typeName)
{
    return {.name = name,
            .prepare =
                [slot](Arguments a) {
                    Kept<Element> target = room<Element, 4>(0)(a);
                    auto array = static_cast<Array>(a.bad(2) ? nullptr : world().arrays[slot]);
                    const KS_INT length = a.bad(1) ? -1 : 4;
                    return Prepared{[=](JNIEnv* e, lgStream* t) { return F(target, e, t, array, length); }};
                },
            .checks = {"result != NULL", "length >= 0", "venGetArrayLength: array != NULL"},
            .floor = guarded("GetArrayLength") + guarded(std::string("Get") + typeName + "ArrayElements") +
                     ("Release" + std::string(typeName) + "ArrayElements"),
            .cannotFail = "pinning fails only for want of memory"};
}

enum class ThrowForm { Cstr, KsString, Format, MessageFirst };

// The format form hands format, length and values to the formatter unchecked.
template <ThrowForm form, auto F> Case throwCase(const char* name, const char* className)
{
    Case row{.name = name,
             .cannotFail = "the throw raises by design; only a missing class or memory could fail it",
             .onSuccess = OnSuccess::Throws,
             .thrown = className};
    if constexpr (form == ThrowForm::Cstr) {
        row.prepare = plainCall(F, "sweep", arg(0, "thrown"));
    } else if constexpr (form == ThrowForm::MessageFirst) {
        row.prepare = plainCall(F, arg(0, "thrown"), "sweep");
    } else if constexpr (form == ThrowForm::KsString) {
        row.prepare = plainCall(F, "sweep", fresh([] { return ksStringCreateFromCstr("thrown", -1); }, 0));
    } else {
        row.prepare = [](Arguments) {
            return Prepared{
                [](JNIEnv* e, lgStream* t) { return F(e, t, "sweep", "thrown %i", KS_INT{-1}, 7); }};
        };
    }
    if constexpr (form != ThrowForm::Format) {
        row.checks = {form == ThrowForm::KsString ? "msg != ((void *)0)" : "venThrowNew: message != NULL"};
    }
    return row;
}

template <auto F> Case lookupCase(const char* name, const char* member, const char* sig, bool field)
{
    return {.name = name,
            .prepare = outCall(F, arg(1, field ? world().fields : world().methods),
                               arg(2, member, "noSuchMember"), arg(3, sig)),
            .checks = {"result != NULL", "clazz != NULL", "name != NULL", "sig != NULL"}};
}

template <typename... Element> void makeArrays(World& w)
{
    ((w.arrays[Primitive<Element>::kSlot] =
          static_cast<jarray>(global(jni<Primitive<Element>::kNew>(mainEnv(), 4)))),
     ...);
}

World& world()
{
    static World* made = [] {
        JNIEnv* env = mainEnv();
        auto* w = new World{};
        auto make = [&](jclass clazz) {
            return global(env->NewObject(clazz, env->GetMethodID(clazz, "<init>", "()V")));
        };
        w->fields = globalClass("fixtures/Fields");
        w->methods = globalClass("fixtures/Methods");
        w->natives = globalClass("fixtures/WrapperNatives");
        w->object = globalClass("java/lang/Object");
        w->fieldsObj = make(w->fields);
        w->badTextFields = make(w->fields);
        w->methodsObj = make(w->methods);
        w->childObj = make(globalClass("fixtures/MethodsChild"));
        w->toStringThrowsObj = make(globalClass("fixtures/ToStringThrows"));
        // Beyond Latin-1, so that the critical functions pin rather than copy.
        w->text = static_cast<jstring>(global(jstr(env, u"sweep \u00e9\u4e2d text")));
        w->badText = static_cast<jstring>(global(jstr(env, std::u16string{u'x', char16_t(0xD800), u'y'})));
        env->SetObjectField(w->badTextFields, env->GetFieldID(w->fields, "stringField", "Ljava/lang/String;"),
                            w->badText);
        w->longText = static_cast<jstring>(global(jstr(env, std::u16string(300, u'\u4e2d'))));
        jclass arrayList = findClass(env, "java/util/ArrayList");
        w->list = make(arrayList);
        env->CallBooleanMethod(w->list, env->GetMethodID(arrayList, "add", "(Ljava/lang/Object;)Z"), w->text);
        EXPECT_FALSE(env->ExceptionCheck());
        jclass listClass = findClass(env, "java/util/List");
        jobject empty = env->CallStaticObjectMethod(
            listClass, env->GetStaticMethodID(listClass, "of", "()Ljava/util/List;"));
        EXPECT_FALSE(env->ExceptionCheck());
        w->immutableList = global(empty);
        w->e1 = static_cast<jthrowable>(global(makeThrowable(env, "fixtures/FixtureException", "E1")));
        makeArrays<jboolean, jbyte, jchar, jshort, jint, jlong, jfloat, jdouble>(*w);
        w->objectArray = static_cast<jobjectArray>(global(env->NewObjectArray(2, w->object, nullptr)));
        env->DeleteLocalRef(arrayList);
        env->DeleteLocalRef(listClass);
        return w;
    }();
    return *made;
}

jint JNICALL answer(JNIEnv*, jclass)
{
    return 42;
}

// A trace function, run with E1 pending: it describes and keeps what is pending. A missing
// argument is reported in the stream, raising nothing.
template <typename... P, typename... A>
Case traceCase(const char* name, KS_BOOL (*trace)(JNIEnv*, lgStream*, P...), A... args)
{
    return {.name = name,
            .prepare =
                [=](Arguments) {
                    return Prepared{[=](JNIEnv* e, lgStream* t) {
                        if (!mainEnv()->ExceptionCheck()) {
                            mainEnv()->Throw(world().e1);
                        }
                        return trace(e, t, args...);
                    }};
                },
            .cannotFail = "the trace keeps the pending exception whatever its own calls meet",
            .onSuccess = OnSuccess::Traces};
}

// A new global or weak global reference, deleted with the run.
template <auto F, auto Delete> Case globalRefCase(const char* name)
{
    return {.name = name,
            .prepare =
                [](Arguments a) {
                    std::shared_ptr<jobject> held(new jobject{}, [](jobject* ref) {
                        if (*ref != nullptr) {
                            jni<Delete>(mainEnv(), *ref);
                        }
                        delete ref;
                    });
                    jobject obj = a.bad(1) ? nullptr : world().text;
                    return Prepared{[=](JNIEnv* e, lgStream* t) {
                        return F(a.bad(0) ? nullptr : held.get(), e, t, obj);
                    }};
                },
            .checks = {"result != NULL", "obj != NULL"},
            .cannotFail = "a new global reference fails only for want of memory"};
}

ksVector* twoTexts()
{
    ksVector* vec = ksVectorCreate();
    for (const char* text : {"a", "b"}) {
        ksVectorAppend(vec, ksStr(text).get());
    }
    return vec;
}

// The sweep's own rows: the functions outside the family tables.
std::vector<Case> oneOffs()
{
    World& w = world();
    const char* bySize =
        "within HotSpot's limit only memory refuses it; beyond, HotSpot refuses without raising, "
        "which the wrapper's consistency check stops the process for";
    const char* newString = "a new string fails only for want of memory";
    static const jchar units[] = {'a', 0x4e2d};
    static const double source[] = {1.5, 2.5};
    static JNINativeMethod answers[] = {
        {const_cast<char*>("answer"), const_cast<char*>("()I"), reinterpret_cast<void*>(&answer)},
        {const_cast<char*>("noSuchMethod"), const_cast<char*>("()I"), reinterpret_cast<void*>(&answer)}};
    // The element rows of a string array: made, stored, checked, let go.
    const std::vector<std::string> element = {"NewString", "SetObjectArrayElement", "ExceptionCheck",
                                              "DeleteLocalRef"};
    return {
        {.name = "venFindClass",
         .prepare = outCall(venFindClass, arg(1, "fixtures/Fields", "no/such/Class")),
         .checks = {"result != NULL", "name != NULL"}},
        {.name = "venAllocObject",
         .prepare = outCall(venAllocObject, arg(1, w.fields, globalClass("java/util/Collection"))),
         .checks = {"result != NULL", "clazz != NULL"}},
        {.name = "venNewObject",
         .prepare =
             [&w](Arguments a) {
                 jclass clazz = a == Fail ? findClass(mainEnv(), "java/lang/Integer") : w.fields;
                 jmethodID init =
                     mainEnv()->GetMethodID(clazz, "<init>", a == Fail ? "(Ljava/lang/String;)V" : "()V");
                 return withResult<jobject>(a.bad(0), [=](jobject* r, JNIEnv* e, lgStream* t) {
                     return venNewObject(r, e, t, a.bad(1) ? nullptr : clazz, a.bad(2) ? nullptr : init,
                                         w.text);
                 });
             },
         .checks = {"result != NULL", "clazz != NULL", "methodID != NULL"}},
        {.name = "venGetObjectClass",
         .prepare = outCall(venGetObjectClass, arg(1, w.fieldsObj)),
         .checks = {"result != NULL", "obj != NULL"},
         .cannotFail = "the class of an object is always there"},
        {.name = "venIsInstanceOf",
         .prepare = outCall(venIsInstanceOf, w.text, arg(1, w.object)),
         .checks = {"result != NULL", "clazz != NULL"},
         .cannotFail = "an instance test raises nothing"},
        {.name = "venGetVersion",
         .prepare = outCall(venGetVersion),
         .checks = {"result != NULL"},
         .floor = {"GetVersion"}, // a direct call
         .cannotFail = "the version raises nothing",
         .successWarns = "ven___GetVersion is a direct call: it neither clears nor sets aside the "
                         "pending exception"},
        globalRefCase<venNewGlobalRef, &Entry::DeleteGlobalRef>("venNewGlobalRef"),
        globalRefCase<venNewWeakGlobalRef, &Entry::DeleteWeakGlobalRef>("venNewWeakGlobalRef"),
        {.name = "venEnsureLocalCapacity",
         .prepare = plainCall(venEnsureLocalCapacity, arg(0, 8, 8, -1)),
         .checks = {"capacity >= 0"},
         .cannotFail = bySize,
         .untracedFailure = "a refused capacity is reported by the result alone"},
        {.name = "venPushLocalFrame",
         .prepare = undoing(plainCall(venPushLocalFrame, arg(0, 8, 8, -1)),
                            [] { mainEnv()->PopLocalFrame(nullptr); }),
         .checks = {"capacity >= 0"},
         .cannotFail = bySize,
         .untracedFailure = "a refused frame is reported by the result alone"},
        {.name = "venRegisterNatives",
         .prepare = undoing(plainCall(venRegisterNatives, arg(0, w.natives), arg(1, &answers[0], &answers[1]),
                                      arg(2, 1, 1, -1)),
                            [&w] { mainEnv()->UnregisterNatives(w.natives); }),
         .checks = {"clazz != NULL", "methods != NULL", "nMethods >= 0"}},
        {.name = "venUnregisterNatives",
         .prepare = plainCall(venUnregisterNatives, arg(0, w.natives)),
         .checks = {"clazz != NULL"},
         .cannotFail = "unregistering raises nothing"},
        {.name = "venMonitorEnter",
         .prepare = undoing(plainCall(venMonitorEnter, arg(0, w.fieldsObj)),
                            [&w] { mainEnv()->MonitorExit(w.fieldsObj); }),
         .checks = {"obj != NULL"},
         .cannotFail = "entering a monitor fails only for want of memory"},
        releaseCase<jobject, jobject>(
            "venMonitorLeave", w.fieldsObj,
            [](jobject obj) { return mainEnv()->MonitorEnter(obj) == JNI_OK ? obj : nullptr; },
            [](JNIEnv* e, lgStream* t, jobject, jobject held, jint) { return venMonitorLeave(e, t, held); },
            [](jobject, jobject held) { mainEnv()->MonitorExit(held); }, {"obj != NULL"}, 0, {"MonitorExit"},
            "the wrapper stops the process when leaving fails (left to the fault sweep)"),
        {.name = "venThrow",
         .prepare =
             [&w](Arguments a) {
                 auto thrown = static_cast<jthrowable>(
                     a.bad(0) ? nullptr : mainEnv()->NewLocalRef(w.toStringThrowsObj));
                 return plainCall(venThrow, thrown, "sweep")(a);
             },
         .checks = {"throwable != NULL"},
         .cannotFail = "the throw raises by design",
         .onSuccess = OnSuccess::Rethrows,
         .thrown = "fixtures/ToStringThrows"},
        {.name = "venThrowNew",
         .prepare = plainCall(venThrowNew, arg(0, globalClass("fixtures/FixtureException")), arg(1, "thrown"),
                              "sweep"),
         .checks = {"clazz != NULL", "message != NULL"},
         .cannotFail = "the throw raises by design",
         .onSuccess = OnSuccess::Throws,
         .thrown = "fixtures/FixtureException"},

        {.name = "venNewString",
         .prepare = outCall(venNewString, arg(1, +units), length(2, 2, 2)),
         .checks = {"result != NULL", "unicodeChars != NULL || len == 0", "len >= 0",
                    "VEN_KS_INT_TO_JSIZE_CONV_OK( len )"},
         .cannotFail = newString},
        {.name = "venNewStringUTF",
         .prepare = outCall(venNewStringUTF, arg(1, "text")),
         .checks = {"result != NULL", "bytes != NULL"},
         .cannotFail = newString},
        {.name = "venGetArrayLength",
         .prepare = outCall(venGetArrayLength, arg(1, w.arrays[4])),
         .checks = {"result != NULL", "array != NULL"},
         .cannotFail = "the length of an array raises nothing"},
        {.name = "venNewObjectArray",
         .prepare = outCall(venNewObjectArray, length(1, 2, kHugeLength), arg(3, w.object), w.text),
         .checks = {"result != NULL", "length >= 0", "VEN_KS_INT_TO_JSIZE_CONV_OK( length )",
                    "elementClass != NULL"}},
        {.name = "venSetObjectArrayElement",
         .prepare = plainCall(venSetObjectArrayElement, arg(0, w.objectArray), beyond(1, 1, 10), w.text),
         .checks = {"array != NULL", "VEN_KS_INT_TO_JSIZE_CONV_OK( index )"}},
        pinCase(
            "venGetPrimitiveArrayCritical", venGetPrimitiveArrayCritical, w.arrays[4],
            [](jarray array, void* p) { mainEnv()->ReleasePrimitiveArrayCritical(array, p, JNI_ABORT); },
            false),
        releaseCase<jarray, void*>(
            "venReleasePrimitiveArrayCritical", w.arrays[4],
            [](jarray array) { return mainEnv()->GetPrimitiveArrayCritical(array, nullptr); },
            venReleasePrimitiveArrayCritical,
            [](jarray array, void* p) { mainEnv()->ReleasePrimitiveArrayCritical(array, p, JNI_ABORT); },
            {"array != NULL", "carray != NULL", kModeCheck}, 3),

        traceCase("venTraceException", venTraceException, w.e1, KS_TRUE, "sweep"),
        traceCase("venTraceExceptionOccurred", venTraceExceptionOccurred, KS_TRUE, "sweep"),
        traceCase("venTraceErrorOrRuntimeException", venTraceErrorOrRuntimeException, w.e1, "sweep"),
        traceCase("venTraceErrorOrRuntimeExceptionOccurred", venTraceErrorOrRuntimeExceptionOccurred,
                  "sweep"),

        {.name = "venNewStringArrayFromKsVector",
         .prepare = outCall(venNewStringArrayFromKsVector, fresh(twoTexts, 1)),
         .checks = {"result != NULL", "vec != NULL"},
         .floor = std::vector<std::string>{"ExceptionCheck", "FindClass", "NewObjectArray"} + element +
                  element + "DeleteLocalRef",
         .cannotFail = "the strings and the array fail only for want of memory"},
        {.name = "venNewByteArrayFromBuffer",
         .prepare = outCall(venNewByteArrayFromBuffer,
                            fresh([] { return ksBufferCreateFromBytesCopy("abc", 3); }, 1)),
         .checks = {"venNewByteArray: result != NULL", "venNewByteArray: buffer != NULL"},
         .floor = guarded("NewByteArray") + guarded("SetByteArrayRegion"),
         .cannotFail = "the array fails only for want of memory",
         .keepsOnFailure = "a failed copy leaves the new array in *result"},
        {.name = "venNewDoubleArrayOf",
         .prepare = outCall<1>(venNewDoubleArrayOf, arg(0, +source), arg(2, KS_INT{2}, kHugeLength, -1)),
         .checks = {"venNewDoubleArrayOf: source != NULL", "venNewDoubleArray: result != NULL",
                    "venNewDoubleArray: length >= 0"},
         .floor =
             guarded("NewDoubleArray") + guarded("GetDoubleArrayElements") + "ReleaseDoubleArrayElements",
         .keepsOnFailure = "a failed pin leaves the new array in *result"},
        {.name = "venGetByteArrayRegionAsBuffer",
         .prepare = outCall(venGetByteArrayRegionAsBuffer, arg(2, static_cast<jbyteArray>(w.arrays[1])),
                            failing(KS_INT{0}, 10), arg(1, KS_INT{2}, 2, -1)),
         .checks = {"venGetByteArrayRegionAsBytes: result != ((void *)0)",
                    "venGetByteArrayRegionAsBytes: len >= 0", "venGetByteArrayRegion: array != NULL"},
         .floor = guarded("GetByteArrayRegion"),
         .blocks = 1},
        {.name = "venGetPrimitiveArrayAsKsBuffer",
         .prepare = outCall(venGetPrimitiveArrayAsKsBuffer, arg(1, w.arrays[1])),
         .checks = {"venArrayToKsBuffer: result != ((void *)0)", "venGetArrayLength: array != NULL"},
         .floor = guarded("GetArrayLength") + guarded("GetPrimitiveArrayCritical") +
                  "ReleasePrimitiveArrayCritical",
         .cannotFail = "pinning fails only for want of memory"},
        copyCase<KS_INT, jintArray, venCopyIntArrayElements>("venCopyIntArrayElements", 4, "Int"),
        copyCase<double, jdoubleArray, venCopyDoubleArrayElements>("venCopyDoubleArrayElements", 7, "Double"),

        {.name = "venObjectToString",
         .prepare = outCall(venObjectToString, arg(1, w.fieldsObj, w.toStringThrowsObj)),
         .checks = {"result != ((void *)0)", "obj != ((void *)0)"},
         .floor =
             throughClass(kObjectClass, "GetMethodID",
                          std::vector<std::string>{"CallObjectMethodV"} + kTextConversion + "DeleteLocalRef"),
         .blocks = 1},
        {.name = "venArrayListNew",
         .prepare = outCall(venArrayListNew),
         .checks = {"venNewObject: result != NULL"},
         .floor = throughClass({"FindClass"}, "GetMethodID", {"NewObjectV"}),
         .cannotFail = "a new list fails only for want of memory"},
        {.name = "venArrayListGet",
         .prepare = outCall<2>(venArrayListGet, arg(0, w.list), beyond(1, 0, 5)),
         .checks =
             {"venArrayListGet: arrayList != ((void *)0)",
              // The range check's text after macro expansion.
              "venArrayListGet: ( sizeof(KS_INT)>=sizeof(jint) ? (KS_INT)(index) >= "
              "(KS_INT)((KS_INT)(-2147483648LL)) && (KS_INT)(index) <= (KS_INT)((KS_INT)(2147483647LL)) : "
              "((KS_BOOL)1) )",
              "venCallObjectMethod: result != NULL"},
         .floor = throughClass({"FindClass"}, "GetMethodID", {"CallObjectMethodV", "ExceptionCheck"})},
        {.name = "venArrayListSize",
         .prepare = outCall<1>(venArrayListSize, arg(0, w.list)),
         .checks = {"venArrayListSize: arrayList != ((void *)0)", "venCallIntMethod: result != NULL"},
         .floor = throughClass({"FindClass"}, "GetMethodID", {"CallIntMethodV", "ExceptionCheck"}),
         .cannotFail = "the size of a list raises nothing"},

        // An immutable list refuses null elements in contains, and every add.
        {.name = "venCollectionContains",
         .prepare =
             outCall<1>(venCollectionContains, arg(0, w.list, w.immutableList), failing(w.text, nullptr)),
         .checks = {"venGetObjectClass: obj != NULL", "venCallBooleanMethod: result != NULL"},
         .floor = throughClass(kObjectClass, "GetMethodID", {"CallBooleanMethodV", "ExceptionCheck"})},
        {.name = "venCollectionAdd",
         .prepare =
             [&w](Arguments a) {
                 JNIEnv* env = mainEnv();
                 jclass arrayList = env->GetObjectClass(w.list);
                 jobject added = env->NewObject(arrayList, env->GetMethodID(arrayList, "<init>", "()V"));
                 return outCall<1>(venCollectionAdd, arg(0, added, w.immutableList), w.text)(a);
             },
         .checks = {"venGetObjectClass: obj != NULL", "venCallBooleanMethod: result != NULL"},
         .floor = throughClass(kObjectClass, "GetMethodID", {"CallBooleanMethodV", "ExceptionCheck"})},
        {.name = "venEnumSetNoneOf",
         .prepare = outCall(venEnumSetNoneOf, arg(1, globalClass("fixtures/Color"), w.object)),
         .checks = {"result != ((void *)0)", "elementType != ((void *)0)"},
         .floor =
             throughClass({"FindClass"}, "GetStaticMethodID", {"CallStaticObjectMethodV", "ExceptionCheck"})},
        {.name = "venStringToKsString",
         .prepare = outCall(venStringToKsString, failing(w.text, w.badText)),
         .checks = {"venStringToKsString: result != ((void *)0)"},
         .floor = kTextConversion,
         .blocks = 1,
         .failThrowsNew = "an ill-formed text is reported as an AssertionError thrown through ThrowNew"},
        {.name = "venStringFromKsString",
         .prepare = outCall(venStringFromKsString, fresh([] { return ksStringCreateFromCstr("text", -1); })),
         .checks = {"venStringFromKsString: result != ((void *)0)"},
         .floor = {"ExceptionCheck", "NewString"},
         .cannotFail = newString},
    };
}

// A class unit's lookup and instance test. The throwable units' lookup has no test of its own:
// venFindClass reports a NULL result.
template <auto GetClass, auto IsInstance>
void classUnitCases(std::vector<Case>& cases, const char* getClass, const char* isInstance, bool ownCheck)
{
    cases.push_back({.name = getClass,
                     .prepare = outCall(GetClass),
                     .checks = {ownCheck ? std::string(getClass) + ": result != ((void *)0)"
                                         : "venFindClass: result != NULL"},
                     .cannotFail = "the unit's class is always there"});
    cases.push_back(
        {.name = isInstance,
         .prepare = outCall(IsInstance, world().text),
         .checks = {"venIsInstanceOf: result != NULL"},
         .floor = {"ExceptionCheck", "FindClass", "IsInstanceOf", "ExceptionCheck", "DeleteLocalRef"},
         .cannotFail = "an instance test raises nothing"});
}

template <auto F> Case stringLengthCase(const char* name)
{
    return {.name = name,
            .prepare = outCall(F, arg(1, world().text)),
            .checks = {"result != NULL", "string != NULL"},
            .cannotFail = "the length of a string raises nothing"};
}

// Boxing checks nothing itself: the call through valueOf reports a NULL result.
template <typename Ven, auto F> Case boxingCase(const char* name)
{
    return {.name = name,
            .prepare = outCall(F, Ven{1}),
            .checks = {"venCallStaticObjectMethod: result != NULL"},
            .floor = throughClass({"FindClass"}, "GetStaticMethodID",
                                  {"CallStaticObjectMethodV", "ExceptionCheck"}),
            .cannotFail = "boxing fails only for want of memory"};
}

const std::vector<Case>& cases()
{
    static const std::vector<Case> all = [] {
        std::vector<Case> cases;
#define SWEEP_TARGET_obj jobject
#define SWEEP_TARGET_clazz jclass
#define SWEEP_RANGE_Unchecked nullptr
#define SWEEP_RANGE_CharRange "VEN_KS_CHAR_TO_JCHAR_CONV_OK( value )"
#define SWEEP_RANGE_ShortRange "VEN_KS_INT_TO_JSHORT_CONV_OK( value )"
#define SWEEP_RANGE_IntRange "VEN_KS_INT_TO_JINT_CONV_OK( value )"
#define SWEEP_FIELD(kind, name, callee, target, Ven, Jni, Range)                                             \
    cases.push_back(                                                                                         \
        fieldCase<FieldKind::kind, SWEEP_TARGET_##target, Ven, name>(#name, #callee, SWEEP_RANGE_##Range));
        VEN_FIELD_FUNCTIONS(SWEEP_FIELD)
#define SWEEP_CALL(form, kind, name, callee, Ven, Jni)                                                       \
    cases.push_back(callCase<Form::form, Kind::kind, Ven, name>(#name, #callee));
        VEN_CALL_FUNCTIONS(SWEEP_CALL)
#define SWEEP_ARRAY(kind, name, wrapper, Element, Array)                                                     \
    cases.push_back(arrayCase<ArrayKind::kind, Element, Array, name>(#name));
        VEN_ARRAY_FUNCTIONS(SWEEP_ARRAY)
#define SWEEP_STRING_LENGTH(name, wrapper) cases.push_back(stringLengthCase<name>(#name));
#define SWEEP_STRING_PIN(name, Char, wrapper)                                                                \
    cases.push_back(stringPinCase<Char, name, SWEEP_UNPIN_##wrapper>(#name));
#define SWEEP_STRING_RELEASE(name, Char, wrapper)                                                            \
    cases.push_back(stringReleaseCase<Char, name, SWEEP_PIN_##wrapper>(#name));
#define SWEEP_STRING_REGION(name, Char, wrapper) cases.push_back(stringRegionCase<Char, name>(#name));
        VEN_STRING_LENGTH_FUNCTIONS(SWEEP_STRING_LENGTH)
        VEN_STRING_PIN_FUNCTIONS(SWEEP_STRING_PIN)
        VEN_STRING_RELEASE_FUNCTIONS(SWEEP_STRING_RELEASE)
        VEN_STRING_REGION_FUNCTIONS(SWEEP_STRING_REGION)
#define SWEEP_CLASS_UNIT(getClass, isInstance, className)                                                    \
    classUnitCases<getClass, isInstance>(cases, #getClass, #isInstance, true);
        VEN_BOXED_CLASSES(SWEEP_CLASS_UNIT)
        VEN_COLLECTION_CLASSES(SWEEP_CLASS_UNIT)
        SWEEP_CLASS_UNIT(venStringGetClass, venStringIsInstance, "java/lang/String")
#define SWEEP_THROWABLE_UNIT(getClass, isInstance, throwCstr, throwKsString, throwFormat, className)         \
    classUnitCases<getClass, isInstance>(cases, #getClass, #isInstance, false);                              \
    cases.push_back(throwCase<ThrowForm::Cstr, throwCstr>(#throwCstr, className));                           \
    cases.push_back(throwCase<ThrowForm::KsString, throwKsString>(#throwKsString, className));               \
    cases.push_back(throwCase<ThrowForm::Format, throwFormat>(#throwFormat, className));
        VEN_THROWABLE_UNITS(SWEEP_THROWABLE_UNIT)
        // The java/io/IOException unit has the throwable units' shape but no table of its own.
        SWEEP_THROWABLE_UNIT(venIOExceptionGetClass, venIOExceptionIsInstance,
                             venIOExceptionThrowUseMessageCstr, venIOExceptionThrowUseMessage,
                             venIOExceptionThrowUseMessageFormatCstr, "java/io/IOException")
#define SWEEP_THROW_MESSAGE_FIRST(getClass, isInstance, throwMessage, className)                             \
    classUnitCases<getClass, isInstance>(cases, #getClass, #isInstance, false);                              \
    cases.push_back(throwCase<ThrowForm::MessageFirst, throwMessage>(#throwMessage, className));
        VEN_THROWABLE_UNITS_MESSAGE_FIRST(SWEEP_THROW_MESSAGE_FIRST)
#define SWEEP_BOXING(name, getClass, sig, Ven, Jni) cases.push_back(boxingCase<Ven, name>(#name));
        VEN_BOXING_FUNCTIONS(SWEEP_BOXING)
        cases.push_back(lookupCase<venGetFieldID>("venGetFieldID", "intField", "I", true));
        cases.push_back(lookupCase<venGetStaticFieldID>("venGetStaticFieldID", "staticIntField", "I", true));
        cases.push_back(lookupCase<venGetMethodID>("venGetMethodID", "intGet", "()I", false));
        cases.push_back(
            lookupCase<venGetStaticMethodID>("venGetStaticMethodID", "staticIntGet", "()I", false));
        std::ranges::move(oneOffs(), std::back_inserter(cases));
        // A check without its reporter's name is the function's own.
        for (Case& row : cases) {
            for (std::string& check : row.checks) {
                check = check.starts_with("ven") ? check : row.name + ": " + check;
            }
        }
        return cases;
    }();
    return all;
}

// ---- The fallible JNI entries ---------------------------------------------------------------

// An entry to fail, and the wrapper's fatal check that stops the process on it by design, if any
// (abortLine 0: any line of the wrapper's no-exception checks).
struct Fallible {
    void (*inject)(FaultEnv& fault, int nth, bool status);
    int abortLine = 0;
    const char* abortCondition = nullptr;
};

// status: a jint result is a status, -1 on failure, rather than a value or a length.
template <auto Member> void injectOutOfMemory(FaultEnv& fault, int nth, bool status)
{
    using Result = typename ven::test::detail::JniEntry<Member>::Result;
    constexpr const char* kOome = "java/lang/OutOfMemoryError";
    if constexpr (std::is_void_v<Result>) {
        fault.raise<Member>(kOome, "injected by the sweep", FaultEnv::Calls::nth(nth));
    } else {
        const Result failure = std::is_same_v<Result, jint> && status ? Result(-1) : Result{};
        fault.raiseReturning<Member>(kOome, "injected by the sweep", failure, FaultEnv::Calls::nth(nth));
    }
}

// Every entry but those that can neither fail nor raise. JNI does not allow the queries of an
// object's class, type, length or fields to raise: a raise there stops the process in the wrapper.
const std::map<std::string, Fallible>& fallibleEntries()
{
    static const std::map<std::string, Fallible> entries = [] {
        std::map<std::string, Fallible> made;
#define SWEEP_FALLIBLE(name) made[#name] = {&injectOutOfMemory<&Entry::name>};
        VEN_TEST_JNI_FIXED_ENTRIES(SWEEP_FALLIBLE)
#undef SWEEP_FALLIBLE
        std::erase_if(made, [](const auto& entry) {
            const std::string& name = entry.first;
            return name.starts_with("Release") || name.starts_with("Delete") ||
                   name.starts_with("Exception") || name == "GetVersion" || name == "PopLocalFrame" ||
                   name == "FatalError";
        });
        for (auto& [name, fallible] : made) {
            if (name.ends_with("Field") || name.ends_with("Length") || name == "GetObjectClass" ||
                name == "IsInstanceOf" || name == "IsSameObject" || name == "NewLocalRef") {
                fallible.abortCondition = "(*env)->ExceptionCheck( env ) == JNI_FALSE";
            }
        }
        // The wrapper's fatal checks: these calls are not allowed to fail.
        for (const auto& [name, line, condition] : {
                 std::tuple{"Throw", 86, "(*env)->Throw( env, throwable ) == 0"},
                 std::tuple{"ThrowNew", 95, "(*env)->ThrowNew( env, clazz, message ) == 0"},
                 std::tuple{"MonitorEnter", 5100, "(*env)->MonitorEnter( env, obj ) == 0"},
                 std::tuple{"MonitorExit", 5113, "(*env)->MonitorExit( env, obj ) == 0"},
             }) {
            made[name].abortLine = line;
            made[name].abortCondition = condition;
        }
        return made;
    }();
    return entries;
}

// ---- One run of a prepared call ---------------------------------------------------------------

// The local references these make go with the run's frame.
bool pendingIsA(JNIEnv* env, jthrowable pending, const char* className)
{
    jclass clazz = env->FindClass(className);
    return pending != nullptr && clazz != nullptr && env->IsInstanceOf(pending, clazz);
}

std::string classNameOf(JNIEnv* env, jobject obj)
{
    if (obj == nullptr) {
        return "nothing";
    }
    jclass clazz = env->GetObjectClass(obj);
    jmethodID getName = env->GetMethodID(env->GetObjectClass(clazz), "getName", "()Ljava/lang/String;");
    auto name = static_cast<jstring>(env->CallObjectMethod(clazz, getName));
    EXPECT_FALSE(env->ExceptionCheck());
    return utf8(env, name);
}

// One run in a local frame: the pending exception taken out after it, the cleanup, and the live
// ks objects compared unless the run ended in an abort.
struct Run {
    Run(const Case& row, Arguments arguments)
    {
        EXPECT_EQ(0, mainEnv()->PushLocalFrame(64));
        prepared = row.prepare(arguments);
    }
    ~Run()
    {
        mainEnv()->ExceptionClear();
        trace.reset();
        prepared.cleanup();
        prepared = {};
        mainEnv()->PopLocalFrame(nullptr);
        // An abort unwinds past the releases of the frames it leaves: counted, not failed.
        if (!aborted) {
            EXPECT_EQ(ksAtStart, ksObjLiveCount()) << "ks objects left behind";
            EXPECT_EQ(blocksAtStart, ksMemLiveCount()) << "raw blocks from ksMemAlloc left behind";
        }
    }
    jthrowable take() // the pending exception, cleared, as a local reference of the run's frame
    {
        jthrowable pending = mainEnv()->ExceptionOccurred();
        mainEnv()->ExceptionClear();
        return pending;
    }

    const KS_INT ksAtStart = ksObjLiveCount();
    const KS_INT blocksAtStart = ksMemLiveCount();
    Prepared prepared;
    Trace trace;
    bool aborted = false;
};

// ---- 1. Exception state ---------------------------------------------------------------------

void exceptionState(const Case& row, Arguments arguments, bool e1Pending = true)
{
    const Variant variant = arguments.variant;
    JNIEnv* env = mainEnv();
    Run run(row, arguments);
    ASSERT_TRUE(run.prepared.act) << "variant " << static_cast<int>(variant) << " not prepared";
    if (e1Pending) {
        env->Throw(world().e1);
    }
    KS_BOOL ok;
    {
        std::optional<ExpectJniWarning> warning;
        const char* why = variant == Variant::Bad
                              ? "an argument failure throws through ThrowNew while E1 is pending"
                          : variant == Variant::Fail ? row.failThrowsNew
                          : row.onSuccess == OnSuccess::Throws
                              ? "the function's throw goes through ThrowNew while E1 is pending"
                              : row.successWarns;
        if (why != nullptr && e1Pending) {
            warning.emplace(kExceptionPendingWarning, why);
        }
        ok = run.prepared.act(env, run.trace.get());
    }
    jthrowable pending = run.take();
    const std::string pendingClass = classNameOf(env, pending);
    const bool isE1 = pending != nullptr && env->IsSameObject(pending, world().e1);
    switch (variant) {
    case Variant::Succeed:
        EXPECT_EQ(KS_TRUE, ok);
        if (row.onSuccess == OnSuccess::Keeps) {
            EXPECT_TRUE(run.trace.lines().empty()) << "a success writes no trace";
        }
        if (row.onSuccess == OnSuccess::Keeps || row.onSuccess == OnSuccess::Traces) {
            EXPECT_TRUE(isE1) << "E1 is not pending after success, but " << pendingClass;
        } else {
            EXPECT_TRUE(!isE1 && pendingIsA(env, pending, row.thrown)) << "pending: " << pendingClass;
        }
        if (row.onSuccess == OnSuccess::Traces) {
            EXPECT_TRUE(run.trace.notable());
        }
        break;
    case Variant::Fail:
        EXPECT_EQ(KS_FALSE, ok);
        EXPECT_TRUE(pending != nullptr && !isE1) << "pending: " << pendingClass;
        // A checked exception is the caller's to handle: only an unchecked one is traced.
        EXPECT_EQ(pendingIsA(env, pending, "java/lang/RuntimeException") ||
                      pendingIsA(env, pending, "java/lang/Error"),
                  run.trace.notable())
            << pendingClass;
        break;
    case Variant::Bad: {
        // The argument failure replaces E1 and is traced under the function that reports it.
        const std::string& message = row.checks[arguments.firstBad];
        EXPECT_EQ(KS_FALSE, ok);
        EXPECT_EQ(run.trace.lines(),
                  std::vector<std::string>{"[" + message.substr(0, message.find(':')) +
                                           "()] Exception: java.lang.IllegalArgumentException: " + message});
        EXPECT_TRUE(run.trace.notable());
        env->Throw(pending);
        ExpectPending(env, "java.lang.IllegalArgumentException", message.c_str());
        break;
    }
    }
}

TEST(Sweeps, ExceptionState)
{
    for (const Case& row : cases()) {
        SCOPED_TRACE(row.name);
        exceptionState(row, {Variant::Succeed});
        if (row.cannotFail == nullptr) {
            exceptionState(row, {Variant::Fail});
        }
        // Composed operations check their arguments on a path of their own when nothing is pending;
        // that pass also takes the values beyond a range from below.
        for (std::size_t check = 0; check < row.checks.size(); ++check) {
            for (bool e1Pending : {true, false}) {
                exceptionState(row, {.variant = Bad, .firstBad = check, .below = !e1Pending}, e1Pending);
            }
        }
    }
}

// ---- 2 and 3. Faults, and references on success ---------------------------------------------

// A local reference that the out-parameter held is deleted once, and only after the new one is
// stored.
void replacesOutParameter(const Case& row)
{
    JNIEnv* env = mainEnv();
    Run run(row, {Variant::Succeed});
    if (run.prepared.out == nullptr) {
        return;
    }
    const jobject old = env->NewLocalRef(world().text);
    *run.prepared.out = old;
    FaultEnv fault(env);
    std::vector<jobject> heldWhenDeleted;
    fault.override<&Entry::DeleteLocalRef>([&](JNIEnv* real, jobject ref) {
        if (ref == old) {
            heldWhenDeleted.push_back(*run.prepared.out);
        }
        real->DeleteLocalRef(ref);
    });
    EXPECT_EQ(KS_TRUE, run.prepared.act(fault.env(), run.trace.get()));
    ASSERT_EQ(1u, heldWhenDeleted.size()) << "deletions of the reference the out-parameter held";
    EXPECT_TRUE(heldWhenDeleted[0] != old && heldWhenDeleted[0] == *run.prepared.out)
        << "the old reference was deleted before the new one was stored";
}

#if defined(__SANITIZE_ADDRESS__)
using LeakCheckerOff = __lsan::ScopedDisabler;
#else
struct LeakCheckerOff {
};
#endif

// The success path through a FaultEnv, an OutOfMemoryError injected into the nth call of entry
// if one is named (afterThrow: into the trace of the exception the function has just thrown).
// Returns the trail of JNI entries that the run called.
std::vector<std::string> faultRun(const Case& row, const std::string& entry = {}, int nth = 0,
                                  bool afterThrow = false)
{
    JNIEnv* env = mainEnv();
    const Fallible* fallible = entry.empty() ? nullptr : &fallibleEntries().at(entry);
    SCOPED_TRACE(fallible == nullptr ? "success" : entry + " #" + std::to_string(nth));
    Run run(row, {Variant::Succeed});
    FaultEnv fault(env);
    LeakCheck leaks(fault);
    const bool aborts = fallible != nullptr && fallible->abortCondition != nullptr;
    if (fallible != nullptr) {
        fallible->inject(fault, nth, entry.find("Int") == std::string::npos && !entry.ends_with("Length"));
    }
    const KS_INT blocksBefore = ksMemAllocCount();
    KS_BOOL ok = KS_FALSE;
    std::optional<AbortRecord> abort;
    {
        // What a call that stops the process had allocated is not a leak: the leak checker of the
        // sanitizer build leaves it aside, only for the calls that are meant to stop.
        std::optional<LeakCheckerOff> off;
        if (aborts) {
            off.emplace();
        }
        abort = catchAbort([&] { ok = run.prepared.act(fault.env(), run.trace.get()); });
    }
    jthrowable pending = run.take();
    if (aborts) {
        run.aborted = true;
        EXPECT_TRUE(abortedWith(abort, entry.c_str(), "source/ven/ven_wrapper",
                                fallible->abortLine != 0 || !abort ? fallible->abortLine : abort->line,
                                fallible->abortCondition, nullptr));
        return {};
    }
    EXPECT_FALSE(abort.has_value()) << "unexpected abort: " << (abort ? abort->line : 0);
    const std::string pendingClass = classNameOf(env, pending);
    // The trace of a thrown or kept exception may meet a failed class lookup of its own, whose
    // exception then takes the place of the traced one, as venTraceErrorOrRuntimeException documents.
    const bool traceLookupFailed =
        entry == "FindClass" && pendingIsA(env, pending, "java/lang/OutOfMemoryError");
    if (fallible == nullptr || afterThrow) {
        EXPECT_EQ(KS_TRUE, ok);
    }
    if (fallible == nullptr && row.onSuccess == OnSuccess::Keeps) {
        // A throw or a trace is the function's own work, not a fast path: its calls are not counted.
        EXPECT_EQ(row.blocks, ksMemAllocCount() - blocksBefore) << "raw blocks taken by a success";
        std::vector<std::string> floor = row.floor;
        const std::vector<std::string>& trail = fault.trail();
        if (floor.empty() && trail.size() == 3) {
            floor = {"ExceptionOccurred", trail[1], "ExceptionCheck"};
        }
        EXPECT_EQ(floor, trail) << "the JNI calls of a success with nothing pending";
        EXPECT_EQ(nullptr, pending) << pendingClass;
    } else if (row.onSuccess == OnSuccess::Traces) {
        EXPECT_TRUE(traceLookupFailed || (pending != nullptr && env->IsSameObject(pending, world().e1)))
            << "pending: " << pendingClass;
    } else if (fallible == nullptr || afterThrow) {
        EXPECT_TRUE(traceLookupFailed || pendingIsA(env, pending, row.thrown)) << "pending: " << pendingClass;
    } else {
        EXPECT_EQ(KS_FALSE, ok);
        EXPECT_TRUE(pendingIsA(env, pending, "java/lang/OutOfMemoryError")) << "pending: " << pendingClass;
        if (row.untracedFailure == nullptr) {
            EXPECT_TRUE(run.trace.notable()) << "an unchecked failure is traced";
        }
    }
    const bool kept = run.prepared.out != nullptr && *run.prepared.out != nullptr;
    if (fallible == nullptr) {
        EXPECT_EQ(run.prepared.out != nullptr, kept) << "a success hands a reference back";
    } else if (kept) {
        EXPECT_NE(nullptr, row.keepsOnFailure) << "a failure left a reference in the out-parameter";
    }
    if (kept) {
        EXPECT_TRUE(leaks.fault.ledger().isLive(*run.prepared.out));
    }
    EXPECT_EQ(kept ? 1 : 0, leaks.live()) << "local references left behind";
    EXPECT_THAT(fault.callsInCriticalRegion(), testing::IsEmpty()) << "JNI calls inside a critical region";
    return fault.trail();
}

TEST(Sweeps, Faults)
{
    for (const Case& row : cases()) {
        SCOPED_TRACE(row.name);
        replacesOutParameter(row);
        std::map<std::string, int> seen;
        bool thrown = false;
        for (const std::string& entry : faultRun(row)) {
            const int nth = ++seen[entry];
            if (fallibleEntries().contains(entry)) {
                faultRun(row, entry, nth, thrown);
            }
            thrown =
                thrown || ((entry == "Throw" || entry == "ThrowNew") && row.onSuccess != OnSuccess::Keeps);
        }
    }
}

// ---- Completeness ---------------------------------------------------------------------------

TEST(Sweeps, EveryExportedFunctionIsSweptOrExcluded)
{
    std::map<std::string, int> accounted;
    for (const Case& row : cases()) {
        ++accounted[row.name];
    }
    // Exported functions that the sweeps do not call: outside the success-flag convention, or
    // ending the test process's JVM use.
    for (const char* name :
         {// The frame: the harness owns the VM registry, the thread attachment and the module.
          "venSetJavaVm", "venDelJavaVm", "venGetJavaVm", "venGetMainJniEnv", "venTryGetMainJniEnv",
          "venAttachCurrentThread", "venAttachCurrentThreadAsDaemon", "venDetachCurrentThread",
          "venCheckEncapsulated", "venModule",
          // No success flag: straight to the wrapper.
          "venExceptionOccurred", "venExceptionDescribe", "venExceptionClear", "venExceptionCheck",
          "venDeleteLocalRef", "venDeleteGlobalRef", "venDeleteWeakGlobalRef", "venPopLocalFrame",
          "venNewLocalRef", "venIsSameObject",
          // Does not return: the VM ends the process.
          "venFatalError"}) {
        ++accounted[name];
    }
    std::set<std::string> exported;
    for (const std::string& name : exportedFunctions(reinterpret_cast<const void*>(&venFindClass), "ven")) {
        if (std::isupper(static_cast<unsigned char>(name[3]))) {
            exported.insert(name);
        }
    }
    EXPECT_GT(exported.size(), 200u);
    for (const auto& [name, times] : accounted) {
        EXPECT_EQ(1, times) << name << " swept or excluded more than once";
        EXPECT_TRUE(exported.contains(name)) << name << " swept or excluded but not exported";
        exported.erase(name);
    }
    EXPECT_TRUE(exported.empty()) << "exported but neither swept nor excluded: "
                                  << testing::PrintToString(exported);
}

} // namespace
} // namespace ven::sweeps
