// The sweep's cases: the library's family tables expanded through one template per kind, and
// a table of its own for the functions that belong to no family.
#include <array>
#include <cstdarg>
#include <cstdint>
#include <type_traits>

#include "sweep.hpp"
#include "ven/integration/array_table.hpp"
#include "ven/integration/call_table.hpp"
#include "ven/integration/field_table.hpp"
#include "ven/integration/string_table.hpp"
#include "ven/java/lang/boxed_table.hpp"
#include "ven/java/lang/throwable_table.hpp"
#include "ven/java/util/collection_table.hpp"

namespace ven::sweeps
{
namespace
{

using enum Variant;

constexpr KS_INT kBeyondJint = KS_INT{1} << 40;
constexpr KS_INT kHugeLength = INT32_MAX; // beyond the VM's array limit: a prompt OutOfMemoryError

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

template <typename T> T pick(Variant v, T succeed, std::type_identity_t<T> fail, std::type_identity_t<T> bad)
{
    return v == Succeed ? succeed : v == Fail ? fail : bad;
}

// What an out-parameter holds after the call is let go of: local references and ks objects.
template <typename Out> void letGo(Out& out)
{
    if constexpr (std::is_convertible_v<Out, jobject>) {
        if (out != nullptr) {
            mainEnv()->DeleteLocalRef(out);
        }
    } else if constexpr (std::is_same_v<Out, ksString*> || std::is_same_v<Out, ksBuffer*>) {
        ksObjRelease(out);
    }
    out = Out{};
}

Prepared plain(
    std::function<KS_BOOL(JNIEnv*, lgStream*)> act, std::function<void()> cleanup = [] {})
{
    return {std::move(act), std::move(cleanup)};
}

// A call with an out-parameter; nullResult passes NULL in its place (the bad argument).
template <typename Out>
Prepared withOut(
    bool nullResult, std::function<KS_BOOL(Out*, JNIEnv*, lgStream*)> call,
    std::function<void()> restore = [] {})
{
    auto slot = std::make_shared<Out>();
    Prepared prepared = plain(
        [=](JNIEnv* env, lgStream* trace) { return call(nullResult ? nullptr : slot.get(), env, trace); },
        [=] {
            letGo(*slot);
            restore();
        });
    if constexpr (std::is_convertible_v<Out, jobject>) {
        prepared.out = reinterpret_cast<jobject*>(slot.get());
    }
    return prepared;
}

// f called with its out-parameter and then the arguments given.
template <typename Out, typename... P, typename... A>
Prepared outCall(KS_BOOL (*f)(Out*, JNIEnv*, lgStream*, P...), bool nullResult, A... args)
{
    return withOut<Out>(nullResult, [=](Out* r, JNIEnv* e, lgStream* t) { return f(r, e, t, args...); });
}

template <typename... P, typename... A> Prepared call(KS_BOOL (*f)(JNIEnv*, lgStream*, P...), A... args)
{
    return plain([=](JNIEnv* e, lgStream* t) { return f(e, t, args...); });
}

// A pinning call, its success undone at once.
template <typename Elements, typename Target, typename Copy>
Prepared pinning(KS_BOOL (*pin)(Elements*, JNIEnv*, lgStream*, Target, Copy*),
                 std::type_identity_t<Target> target,
                 std::type_identity_t<std::function<void(Elements)>> unpin, bool askCopy = true)
{
    return plain([=](JNIEnv* env, lgStream* trace) {
        Elements elements = nullptr;
        Copy isCopy{};
        const KS_BOOL ok = pin(&elements, env, trace, target, askCopy ? &isCopy : nullptr);
        if (ok) {
            unpin(elements);
        }
        return ok;
    });
}

// The release of what the preparation pinned (held; otherwise when nothing is), undone if it fails.
template <typename Elements>
Prepared releasing(Elements held, std::type_identity_t<Elements> otherwise,
                   std::function<KS_BOOL(JNIEnv*, lgStream*, Elements)> release,
                   std::function<void(Elements)> unpin)
{
    auto pinned = std::make_shared<Elements>(held);
    return plain(
        [=](JNIEnv* env, lgStream* trace) {
            const KS_BOOL ok = release(env, trace, *pinned != nullptr ? *pinned : otherwise);
            if (ok) {
                *pinned = nullptr;
            }
            return ok;
        },
        [=] {
            if (*pinned != nullptr) {
                unpin(*pinned);
            }
        });
}

// A new reference in *result, deleted by undo at cleanup.
template <typename T, typename... P, typename... A>
Prepared holding(KS_BOOL (*f)(T*, JNIEnv*, lgStream*, P...), std::type_identity_t<void (*)(T)> undo,
                 A... args)
{
    auto held = std::make_shared<T>();
    return plain([=](JNIEnv* e, lgStream* t) { return f(held.get(), e, t, args...); },
                 [=] {
                     if (*held != nullptr) {
                         undo(*held);
                     }
                 });
}

// p, with undo run at cleanup if it succeeded (an entered monitor, a pushed frame).
Prepared undoing(Prepared p, std::function<void()> undo)
{
    auto done = std::make_shared<KS_BOOL>(KS_FALSE);
    p.act = [=, act = p.act](JNIEnv* e, lgStream* t) { return *done = act(e, t); };
    p.cleanup = [=] {
        if (*done) {
            undo();
        }
    };
    return p;
}

// p, with the ks object its arguments point to kept as long as it.
template <typename T> Prepared owning(T* object, std::function<Prepared(T*)> p)
{
    Prepared prepared = p(object);
    prepared.state = std::shared_ptr<T>(object, [](T* o) { ksObjRelease(o); });
    return prepared;
}

// ---- Names and signatures of the fixtures' members, by JNI type ----------------------------

template <typename Jni> struct JniType;
#define SWEEP_JNI_TYPE(Jni, lower, upper, sig)                                                               \
    template <> struct JniType<Jni> {                                                                        \
        static constexpr const char* kLower = lower;                                                         \
        static constexpr const char* kUpper = upper;                                                         \
        static constexpr const char* kSig = sig;                                                             \
    };
SWEEP_JNI_TYPE(void, "void", "Void", "V")
SWEEP_JNI_TYPE(jobject, "object", "Object", "Ljava/lang/Object;")
SWEEP_JNI_TYPE(jboolean, "boolean", "Boolean", "Z")
SWEEP_JNI_TYPE(jbyte, "byte", "Byte", "B")
SWEEP_JNI_TYPE(jchar, "char", "Char", "C")
SWEEP_JNI_TYPE(jshort, "short", "Short", "S")
SWEEP_JNI_TYPE(jint, "int", "Int", "I")
SWEEP_JNI_TYPE(jlong, "long", "Long", "J")
SWEEP_JNI_TYPE(jfloat, "float", "Float", "F")
SWEEP_JNI_TYPE(jdouble, "double", "Double", "D")
struct JavaString {
    static constexpr const char* kLower = "string";
    static constexpr const char* kUpper = "String";
    static constexpr const char* kSig = "Ljava/lang/String;";
};

// "intField" / "staticIntField", "intGet" / "staticIntGet".
template <typename Type> std::string member(bool isStatic, const char* suffix)
{
    return (isStatic ? std::string("static") + Type::kUpper : std::string(Type::kLower)) + suffix;
}

// ---- Fields -------------------------------------------------------------------------------

enum class FieldKind { Get, Set, GetString, SetString };

// A value the writer accepts, or one beyond its range test.
template <typename Ven> Ven someValue(bool beyond)
{
    if constexpr (std::is_same_v<Ven, jobject>) {
        return world().text;
    } else {
        return beyond ? Ven(std::is_same_v<Ven, KS_CHAR> ? 0x110000 : kBeyondJint) : Ven{1};
    }
}

template <FieldKind kind, typename Target, typename Ven, typename Jni, bool ranged, auto F>
Case fieldCase(const char* name)
{
    constexpr bool isStatic = std::is_same_v<Target, jclass>;
    constexpr bool text = kind == FieldKind::GetString || kind == FieldKind::SetString;
    using Type = std::conditional_t<text, JavaString, JniType<Jni>>;
    Case row{name};
    row.prepare = [](Variant variant) -> Prepared {
        World& w = world();
        JNIEnv* env = mainEnv();
        const std::string field = member<Type>(isStatic, "Field");
        jfieldID id = isStatic ? env->GetStaticFieldID(w.fields, field.c_str(), Type::kSig)
                               : env->GetFieldID(w.fields, field.c_str(), Type::kSig);
        auto target = static_cast<Target>(isStatic          ? w.fields
                                          : variant == Fail ? w.badTextFields
                                                            : w.fieldsObj);
        if constexpr (kind == FieldKind::Get || kind == FieldKind::GetString) {
            std::function<void()> restore = [] {};
            if (variant == Fail && isStatic) {
                env->SetStaticObjectField(w.fields, id, w.badText);
                restore = [id] { mainEnv()->SetStaticObjectField(world().fields, id, world().text); };
            }
            return withOut<Ven>(
                variant == Bad, [=](Ven* r, JNIEnv* e, lgStream* t) { return F(r, e, t, target, id); },
                restore);
        } else {
            if (variant == Bad && !ranged) {
                target = Target{};
            }
            if constexpr (text) {
                return owning<ksString>(ksStringCreateFromCstr("written", -1),
                                        [=](ksString* value) { return call(F, target, id, value); });
            } else {
                return call(F, target, id, someValue<Ven>(variant == Bad && ranged));
            }
        }
    };
    if constexpr (kind != FieldKind::GetString) {
        row.cannotFail = text ? "the text of a ksString always makes a Java string but for want of memory"
                              : "a field access through a valid ID raises nothing";
    } else {
        row.failThrowsNew = "an ill-formed text is reported as an AssertionError thrown through ThrowNew";
    }
    row.delivers = kind == FieldKind::Get && std::is_same_v<Ven, jobject> ? 1 : 0;
    return row;
}

// ---- Calls --------------------------------------------------------------------------------

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

template <Form form, Kind kind, typename Ven, typename Jni, auto F> Case callCase(const char* name)
{
    using Type = std::conditional_t<form == Form::String, JavaString, JniType<Jni>>;
    constexpr bool isStatic = kind == Kind::Static;
    Case row{name};
    row.prepare = [](Variant variant) -> Prepared {
        World& w = world();
        const std::string method = member<Type>(isStatic, std::is_void_v<Jni> ? "Run" : "Get");
        const std::string sig = std::string("()") + Type::kSig;
        Target t{kind == Kind::Nonvirtual ? w.childObj : w.methodsObj, w.methods,
                 isStatic ? mainEnv()->GetStaticMethodID(w.methods, method.c_str(), sig.c_str())
                          : mainEnv()->GetMethodID(w.methods, method.c_str(), sig.c_str())};
        if (variant == Bad) {
            t.obj = isStatic ? t.obj : nullptr;
            t.clazz = isStatic ? nullptr : t.clazz;
        }
        if constexpr (form == Form::Void) {
            return plain([=](JNIEnv* e, lgStream* trace) { return invoke<kind>(F, t, e, trace); },
                         failMethods(variant));
        } else {
            return withOut<Ven>(
                false,
                [=](Ven* r, JNIEnv* e, lgStream* trace) {
                    if constexpr (form == Form::VaList) {
                        return viaVaList<kind, F>(t, r, e, trace);
                    } else {
                        return invoke<kind>(F, t, r, e, trace);
                    }
                },
                failMethods(variant));
        }
    };
    row.delivers = std::is_same_v<Ven, jobject> ? 1 : 0;
    return row;
}

// ---- Arrays -------------------------------------------------------------------------------

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

template <ArrayKind kind, typename Element, typename Array, auto F> Case arrayCase(const char* name)
{
    using P = Primitive<Element>;
    Case row{name};
    row.prepare = [](Variant variant) -> Prepared {
        auto array = static_cast<Array>(world().arrays[P::kSlot]);
        Array target = variant == Bad ? nullptr : array;
        if constexpr (kind == ArrayKind::New) {
            return outCall(F, false, pick<KS_INT>(variant, 3, kHugeLength, -1));
        } else if constexpr (kind == ArrayKind::Pin) {
            return pinning(F, target, [=](Element* e) { jni<P::kUnpin>(mainEnv(), target, e, JNI_ABORT); });
        } else if constexpr (kind == ArrayKind::Release) {
            static Element dummy{};
            return releasing<Element*>(
                variant == Succeed ? jni<P::kPin>(mainEnv(), array, nullptr) : nullptr, &dummy,
                [=](JNIEnv* e, lgStream* t, Element* elements) { return F(e, t, target, elements, 0); },
                [=](Element* e) { jni<P::kUnpin>(mainEnv(), array, e, JNI_ABORT); });
        } else {
            const KS_INT start = pick<KS_INT>(variant, 0, 10, kBeyondJint);
            auto buffer = std::make_shared<std::array<Element, 4>>();
            return plain([=](JNIEnv* e, lgStream* t) { return F(e, t, array, start, 2, buffer->data()); });
        }
    };
    if constexpr (kind == ArrayKind::Pin) {
        row.cannotFail = "pinning or copying fails only for want of memory (left to the fault sweep)";
    } else if constexpr (kind == ArrayKind::Release) {
        row.cannotFail = "a release raises nothing";
    }
    row.delivers = kind == ArrayKind::New ? 1 : 0;
    return row;
}

// ---- Strings and class units --------------------------------------------------------------

// The JNI pair of each pinning wrapper.
#define SWEEP_UNPIN_ven___GetStringChars &Entry::ReleaseStringChars
#define SWEEP_UNPIN_ven___GetStringUTFChars &Entry::ReleaseStringUTFChars
#define SWEEP_UNPIN_ven___GetStringCritical &Entry::ReleaseStringCritical
#define SWEEP_PIN_ven___ReleaseStringChars &Entry::GetStringChars, &Entry::ReleaseStringChars
#define SWEEP_PIN_ven___ReleaseStringUTFChars &Entry::GetStringUTFChars, &Entry::ReleaseStringUTFChars
#define SWEEP_PIN_ven___ReleaseStringCritical &Entry::GetStringCritical, &Entry::ReleaseStringCritical

jstring textUnlessBad(Variant variant)
{
    return variant == Bad ? nullptr : world().text;
}

template <typename Char, auto F, auto Unpin> Case stringPinCase(const char* name)
{
    return {name,
            [](Variant v) {
                jstring string = textUnlessBad(v);
                return pinning(F, string, [=](const Char* chars) { jni<Unpin>(mainEnv(), string, chars); });
            },
            "pinning or copying fails only for want of memory (left to the fault sweep)"};
}

template <typename Char, auto F, auto Pin, auto Unpin> Case stringReleaseCase(const char* name)
{
    return {name,
            [](Variant v) {
                jstring string = textUnlessBad(v);
                return releasing<const Char*>(
                    string != nullptr ? jni<Pin>(mainEnv(), string, nullptr) : nullptr, nullptr,
                    [=](JNIEnv* e, lgStream* t, const Char* chars) { return F(e, t, string, chars); },
                    [=](const Char* chars) { jni<Unpin>(mainEnv(), string, chars); });
            },
            "a release raises nothing"};
}

template <typename Char, auto F> Case stringRegionCase(const char* name)
{
    return {name, [](Variant v) {
                auto buffer = std::make_shared<std::array<Char, 16>>();
                const jsize start = v == Fail ? 100 : 0;
                return plain([=](JNIEnv* e, lgStream* t) {
                    return F(e, t, world().text, start, 2, v == Bad ? nullptr : buffer->data());
                });
            }};
}

template <typename Element, typename Array, auto F> Case copyCase(const char* name, int slot)
{
    return {name,
            [slot](Variant v) {
                auto target = std::make_shared<std::array<Element, 4>>();
                auto array = static_cast<Array>(world().arrays[slot]);
                return plain([=](JNIEnv* e, lgStream* t) {
                    return F(v == Bad ? nullptr : target->data(), e, t, array, 4);
                });
            },
            "pinning fails only for want of memory"};
}

enum class ThrowForm { Cstr, KsString, Format, MessageFirst };

template <ThrowForm form, auto F> Case throwCase(const char* name, const char* className)
{
    Case row{name};
    row.prepare = [](Variant variant) -> Prepared {
        const bool bad = variant == Bad;
        return plain([bad](JNIEnv* env, lgStream* trace) {
            if constexpr (form == ThrowForm::Cstr) {
                return F(env, trace, "sweep", bad ? nullptr : "thrown");
            } else if constexpr (form == ThrowForm::MessageFirst) {
                return F(env, trace, bad ? nullptr : "thrown", "sweep");
            } else if constexpr (form == ThrowForm::KsString) {
                KsRef<ksString> message(bad ? nullptr : ksStringCreateFromCstr("thrown", -1));
                return F(env, trace, "sweep", message.get());
            } else {
                return F(env, trace, "sweep", "thrown %i", KS_INT{-1}, 7);
            }
        });
    };
    row.cannotFail = "the throw raises by design; only a missing class or memory could fail it";
    if (form == ThrowForm::Format) {
        row.noBadArgument = "format, length and values go to the formatter unchecked";
    }
    row.onSuccess = OnSuccess::Throws;
    row.thrown = className;
    return row;
}

template <auto F> Case lookupCase(const char* name, const char* member, const char* sig, bool field)
{
    return {name, [=](Variant v) {
                jclass clazz = v == Bad ? nullptr : field ? world().fields : world().methods;
                return outCall(F, false, clazz, v == Fail ? "noSuchMember" : member, sig);
            }};
}

} // namespace

// ---- The world ------------------------------------------------------------------------------

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
        auto cls = [&](const char* name) { return static_cast<jclass>(global(findClass(env, name))); };
        auto make = [&](jclass clazz) {
            return global(env->NewObject(clazz, env->GetMethodID(clazz, "<init>", "()V")));
        };
        w->fields = cls("fixtures/Fields");
        w->methods = cls("fixtures/Methods");
        w->natives = cls("fixtures/WrapperNatives");
        w->color = cls("fixtures/Color");
        w->object = cls("java/lang/Object");
        w->collection = cls("java/util/Collection");
        w->integer = cls("java/lang/Integer");
        w->fixtureException = cls("fixtures/FixtureException");
        w->toStringThrows = cls("fixtures/ToStringThrows");
        w->fieldsObj = make(w->fields);
        w->badTextFields = make(w->fields);
        w->methodsObj = make(w->methods);
        w->childObj = make(cls("fixtures/MethodsChild"));
        w->toStringThrowsObj = make(w->toStringThrows);
        // Beyond Latin-1, so that the critical functions pin rather than copy.
        w->text = static_cast<jstring>(global(jstr(env, u"sweep \u00e9\u4e2d text")));
        w->badText = static_cast<jstring>(global(jstr(env, std::u16string{u'x', char16_t(0xD800), u'y'})));
        env->SetObjectField(w->badTextFields, env->GetFieldID(w->fields, "stringField", "Ljava/lang/String;"),
                            w->badText);
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

namespace
{

jint JNICALL answer(JNIEnv*, jclass)
{
    return 42;
}

// A trace function, run with E1 pending: it describes and keeps what is pending.
Case traceCase(const char* name, std::function<KS_BOOL(JNIEnv*, lgStream*)> trace)
{
    return {name,
            [trace](Variant) {
                return plain([trace](JNIEnv* e, lgStream* t) {
                    if (!mainEnv()->ExceptionCheck()) {
                        mainEnv()->Throw(world().e1);
                    }
                    return trace(e, t);
                });
            },
            "the trace keeps the pending exception whatever its own calls meet",
            "a missing argument is reported in the stream, raising nothing",
            0,
            OnSuccess::Traces};
}

// The sweep's own rows: the functions outside the family tables.
std::vector<Case> oneOffs()
{
    World& w = world();
    const char* bySize =
        "within HotSpot's limit only memory refuses it; beyond, HotSpot refuses without raising, "
        "which the wrapper's consistency check stops the process for";
    static const jchar units[] = {'a', 0x4e2d};
    static const double source[] = {1.5, 2.5};
    return {
        // Class lookup, objects, references, frames, natives, monitors.
        {"venFindClass",
         [](Variant v) {
             return outCall(venFindClass, false,
                            pick<const char*>(v, "fixtures/Fields", "no/such/Class", nullptr));
         },
         nullptr, nullptr, 1},
        {"venAllocObject",
         [&w](Variant v) {
             return outCall(venAllocObject, false, pick<jclass>(v, w.fields, w.collection, nullptr));
         },
         nullptr, nullptr, 1},
        {"venNewObject",
         [&w](Variant v) {
             jclass clazz = v == Fail ? w.integer : w.fields;
             const char* sig = v == Fail ? "(Ljava/lang/String;)V" : "()V";
             jmethodID init = v == Bad ? nullptr : mainEnv()->GetMethodID(clazz, "<init>", sig);
             return withOut<jobject>(false, [=](jobject* r, JNIEnv* e, lgStream* t) {
                 return venNewObject(r, e, t, clazz, init, w.text);
             });
         },
         nullptr, nullptr, 1},
        {"venGetObjectClass",
         [&w](Variant v) { return outCall(venGetObjectClass, false, v == Bad ? nullptr : w.fieldsObj); },
         "the class of an object is always there", nullptr, 1},
        {"venIsInstanceOf",
         [&w](Variant v) { return outCall(venIsInstanceOf, false, w.text, v == Bad ? nullptr : w.object); },
         "an instance test raises nothing"},
        {.name = "venGetVersion",
         .prepare = [](Variant v) { return outCall(venGetVersion, v == Bad); },
         .cannotFail = "the version raises nothing",
         .successWarns = "ven___GetVersion is a direct call: it neither clears nor sets aside the "
                         "pending exception"},
        {"venNewGlobalRef",
         [&w](Variant v) {
             return holding(
                 venNewGlobalRef, [](jobject ref) { mainEnv()->DeleteGlobalRef(ref); },
                 v == Bad ? nullptr : w.text);
         },
         "a new global reference fails only for want of memory"},
        {"venNewWeakGlobalRef",
         [&w](Variant v) {
             return holding(
                 venNewWeakGlobalRef, [](jweak ref) { mainEnv()->DeleteWeakGlobalRef(ref); },
                 v == Bad ? nullptr : w.text);
         },
         "a new weak global reference fails only for want of memory"},
        {.name = "venEnsureLocalCapacity",
         .prepare = [](Variant v) { return call(venEnsureLocalCapacity, v == Bad ? -1 : 8); },
         .cannotFail = bySize,
         .untracedFailure = "a refused capacity is reported by the result alone"},
        {.name = "venPushLocalFrame",
         .prepare =
             [](Variant v) {
                 return undoing(call(venPushLocalFrame, v == Bad ? -1 : 8),
                                [] { mainEnv()->PopLocalFrame(nullptr); });
             },
         .cannotFail = bySize,
         .untracedFailure = "a refused frame is reported by the result alone"},
        {"venRegisterNatives",
         [&w](Variant v) {
             static JNINativeMethod good{const_cast<char*>("answer"), const_cast<char*>("()I"),
                                         reinterpret_cast<void*>(&answer)};
             static JNINativeMethod missing{const_cast<char*>("noSuchMethod"), const_cast<char*>("()I"),
                                            reinterpret_cast<void*>(&answer)};
             Prepared p = call(venRegisterNatives, w.natives,
                               pick<const JNINativeMethod*>(v, &good, &missing, nullptr), 1);
             p.cleanup = [&w] { mainEnv()->UnregisterNatives(w.natives); };
             return p;
         }},
        {"venUnregisterNatives",
         [&w](Variant v) { return call(venUnregisterNatives, v == Bad ? nullptr : w.natives); },
         "unregistering raises nothing"},
        {"venMonitorEnter",
         [&w](Variant v) {
             jobject obj = v == Bad ? nullptr : w.fieldsObj;
             return undoing(call(venMonitorEnter, obj), [=] { mainEnv()->MonitorExit(obj); });
         },
         "entering a monitor fails only for want of memory"},
        {"venMonitorLeave",
         [&w](Variant v) {
             jobject obj = v == Bad ? nullptr : w.fieldsObj;
             return releasing<jobject>(
                 v == Succeed && mainEnv()->MonitorEnter(obj) == JNI_OK ? obj : nullptr, obj,
                 [](JNIEnv* e, lgStream* t, jobject held) { return venMonitorLeave(e, t, held); },
                 [](jobject held) { mainEnv()->MonitorExit(held); });
         },
         "the wrapper stops the process when leaving fails (left to the fault sweep)"},
        {"venThrow",
         [&w](Variant v) {
             jobject thrown = v == Bad ? nullptr : mainEnv()->NewLocalRef(w.toStringThrowsObj);
             return call(venThrow, static_cast<jthrowable>(thrown), "sweep");
         },
         "the throw raises by design", nullptr, 0, OnSuccess::Rethrows, "fixtures/ToStringThrows"},
        {"venThrowNew",
         [&w](Variant v) {
             return call(venThrowNew, v == Bad ? nullptr : w.fixtureException, "thrown", "sweep");
         },
         "the throw raises by design", nullptr, 0, OnSuccess::Throws, "fixtures/FixtureException"},

        // Strings and arrays outside the families.
        {"venNewString", [](Variant v) { return outCall(venNewString, false, units, v == Bad ? -1 : 2); },
         "a new string fails only for want of memory", nullptr, 1},
        {"venNewStringUTF",
         [](Variant v) { return outCall(venNewStringUTF, false, v == Bad ? nullptr : "text"); },
         "a new string fails only for want of memory", nullptr, 1},
        {"venGetArrayLength",
         [&w](Variant v) { return outCall(venGetArrayLength, false, v == Bad ? nullptr : w.arrays[4]); },
         "the length of an array raises nothing"},
        {"venNewObjectArray",
         [&w](Variant v) {
             return outCall(venNewObjectArray, false, v == Fail ? kHugeLength : 2,
                            v == Bad ? nullptr : w.object, w.text);
         },
         nullptr, nullptr, 1},
        {"venSetObjectArrayElement",
         [&w](Variant v) {
             return call(venSetObjectArrayElement, w.objectArray, pick<KS_INT>(v, 1, 10, kBeyondJint),
                         w.text);
         }},
        {"venGetPrimitiveArrayCritical",
         [&w](Variant v) {
             jarray array = v == Bad ? nullptr : w.arrays[4];
             return pinning(
                 venGetPrimitiveArrayCritical, array,
                 [=](void* elements) {
                     mainEnv()->ReleasePrimitiveArrayCritical(array, elements, JNI_ABORT);
                 },
                 false);
         },
         "pinning fails only for want of memory (left to the fault sweep)"},
        {"venReleasePrimitiveArrayCritical",
         [&w](Variant v) {
             static jint dummy;
             jarray array = v == Bad ? nullptr : w.arrays[4];
             return releasing<void*>(
                 v == Succeed ? mainEnv()->GetPrimitiveArrayCritical(array, nullptr) : nullptr, &dummy,
                 [=](JNIEnv* e, lgStream* t, void* p) {
                     return venReleasePrimitiveArrayCritical(e, t, array, p, 0);
                 },
                 [=](void* p) { mainEnv()->ReleasePrimitiveArrayCritical(array, p, JNI_ABORT); });
         },
         "a release raises nothing"},

        // Trace functions: they describe, never change what is pending.
        traceCase("venTraceException",
                  [&w](JNIEnv* e, lgStream* t) { return venTraceException(e, t, w.e1, KS_TRUE, "sweep"); }),
        traceCase("venTraceExceptionOccurred",
                  [](JNIEnv* e, lgStream* t) { return venTraceExceptionOccurred(e, t, KS_TRUE, "sweep"); }),
        traceCase(
            "venTraceErrorOrRuntimeException",
            [&w](JNIEnv* e, lgStream* t) { return venTraceErrorOrRuntimeException(e, t, w.e1, "sweep"); }),
        traceCase(
            "venTraceErrorOrRuntimeExceptionOccurred",
            [](JNIEnv* e, lgStream* t) { return venTraceErrorOrRuntimeExceptionOccurred(e, t, "sweep"); }),

        // Bridges.
        {"venNewStringArrayFromKsVector",
         [](Variant v) {
             return owning<ksVector>(v == Bad ? nullptr : ksVectorCreate(), [](ksVector* vec) {
                 for (const char* text : {"a", "b"}) {
                     KsRef<ksString> s(ksStringCreateFromCstr(text, -1));
                     if (vec != nullptr) {
                         ksVectorAppend(vec, s.get());
                     }
                 }
                 return outCall(venNewStringArrayFromKsVector, false, vec);
             });
         },
         "the strings and the array fail only for want of memory", nullptr, 1},
        {.name = "venNewByteArrayFromBuffer",
         .prepare =
             [](Variant v) {
                 return owning<ksBuffer>(
                     v == Bad ? nullptr : ksBufferCreateFromBytesCopy("abc", 3),
                     [](ksBuffer* buffer) { return outCall(venNewByteArrayFromBuffer, false, buffer); });
             },
         .cannotFail = "the array fails only for want of memory",
         .delivers = 1,
         .keepsOnFailure = "a failed copy leaves the new array in *result"},
        {.name = "venNewDoubleArrayOf",
         .prepare =
             [](Variant v) {
                 return outCall(venNewDoubleArrayOf, false, v == Bad ? nullptr : source,
                                v == Fail ? kHugeLength : 2);
             },
         .delivers = 1,
         .keepsOnFailure = "a failed pin leaves the new array in *result"},
        {"venGetByteArrayRegionAsBuffer",
         [&w](Variant v) {
             return outCall(venGetByteArrayRegionAsBuffer, v == Bad, static_cast<jbyteArray>(w.arrays[1]),
                            v == Fail ? 10 : 0, 2);
         }},
        {"venGetPrimitiveArrayAsKsBuffer",
         [&w](Variant v) { return outCall(venGetPrimitiveArrayAsKsBuffer, v == Bad, w.arrays[1]); },
         "pinning fails only for want of memory"},
        copyCase<KS_INT, jintArray, venCopyIntArrayElements>("venCopyIntArrayElements", 4),
        copyCase<double, jdoubleArray, venCopyDoubleArrayElements>("venCopyDoubleArrayElements", 7),

        // Class support beyond lookups, instance tests and throws.
        {"venObjectToString",
         [&w](Variant v) {
             return outCall(venObjectToString, false,
                            pick<jobject>(v, w.fieldsObj, w.toStringThrowsObj, nullptr));
         }},
        {"venArrayListNew", [](Variant v) { return outCall(venArrayListNew, v == Bad); },
         "a new list fails only for want of memory", nullptr, 1},
        {"venArrayListGet",
         [&w](Variant v) {
             return outCall(venArrayListGet, false, w.list, pick<KS_INT>(v, 0, 5, kBeyondJint));
         },
         nullptr, nullptr, 1},
        {"venArrayListSize",
         [&w](Variant v) { return outCall(venArrayListSize, false, v == Bad ? nullptr : w.list); },
         "the size of a list raises nothing"},

        // An immutable list refuses null elements in contains, and every add.
        {"venCollectionContains",
         [&w](Variant v) {
             return outCall(venCollectionContains, false, pick<jobject>(v, w.list, w.immutableList, nullptr),
                            v == Fail ? nullptr : w.text);
         }},
        {"venCollectionAdd",
         [&w](Variant v) {
             jobject collection = v == Bad ? nullptr : w.immutableList;
             if (v == Succeed) {
                 jclass arrayList = mainEnv()->GetObjectClass(w.list);
                 collection =
                     mainEnv()->NewObject(arrayList, mainEnv()->GetMethodID(arrayList, "<init>", "()V"));
             }
             return outCall(venCollectionAdd, false, collection, w.text);
         }},
        {"venEnumSetNoneOf",
         [&w](Variant v) {
             return outCall(venEnumSetNoneOf, false, pick<jclass>(v, w.color, w.object, nullptr));
         },
         nullptr, nullptr, 1},
        {.name = "venStringToKsString",
         .prepare =
             [&w](Variant v) {
                 return outCall(venStringToKsString, v == Bad, v == Fail ? w.badText : w.text);
             },
         .failThrowsNew = "an ill-formed text is reported as an AssertionError thrown through ThrowNew"},
        {"venStringFromKsString",
         [](Variant v) {
             return owning<ksString>(ksStringCreateFromCstr("text", -1), [v](ksString* text) {
                 return outCall(venStringFromKsString, v == Bad, text);
             });
         },
         "a new string fails only for want of memory", nullptr, 1},
    };
}

// The java/io/IOException unit has the throwable units' shape but no table of its own.
#define SWEEP_IO_EXCEPTION_UNIT(X)                                                                           \
    X(venIOExceptionGetClass, venIOExceptionIsInstance, venIOExceptionThrowUseMessageCstr,                   \
      venIOExceptionThrowUseMessage, venIOExceptionThrowUseMessageFormatCstr, "java/io/IOException")

} // namespace
std::vector<Case> allCases()
{
    std::vector<Case> cases;
#define SWEEP_TARGET_obj jobject
#define SWEEP_TARGET_clazz jclass
#define SWEEP_RANGED_Unchecked false
#define SWEEP_RANGED_CharRange true
#define SWEEP_RANGED_ShortRange true
#define SWEEP_RANGED_IntRange true
#define SWEEP_FIELD(kind, name, callee, target, Ven, Jni, Range)                                             \
    cases.push_back(                                                                                         \
        fieldCase<FieldKind::kind, SWEEP_TARGET_##target, Ven, Jni, SWEEP_RANGED_##Range, name>(#name));
    VEN_FIELD_FUNCTIONS(SWEEP_FIELD)
#define SWEEP_CALL(form, kind, name, callee, Ven, Jni)                                                       \
    cases.push_back(callCase<Form::form, Kind::kind, Ven, Jni, name>(#name));
    VEN_CALL_FUNCTIONS(SWEEP_CALL)
#define SWEEP_ARRAY(kind, name, wrapper, Element, Array)                                                     \
    cases.push_back(arrayCase<ArrayKind::kind, Element, Array, name>(#name));
    VEN_ARRAY_FUNCTIONS(SWEEP_ARRAY)
#define SWEEP_STRING_LENGTH(name, wrapper)                                                                   \
    cases.push_back({#name, [](Variant v) { return outCall(name, false, textUnlessBad(v)); },                \
                     "the length of a string raises nothing"});
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
    cases.push_back({#getClass, [](Variant v) { return outCall(getClass, v == Bad); },                       \
                     "the unit's class is always there", nullptr, 1});                                       \
    cases.push_back({#isInstance, [](Variant v) { return outCall(isInstance, v == Bad, world().text); },     \
                     "an instance test raises nothing"});
    VEN_BOXED_CLASSES(SWEEP_CLASS_UNIT)
    VEN_COLLECTION_CLASSES(SWEEP_CLASS_UNIT)
    SWEEP_CLASS_UNIT(venStringGetClass, venStringIsInstance, "java/lang/String")
#define SWEEP_THROWABLE_UNIT(getClass, isInstance, throwCstr, throwKsString, throwFormat, className)         \
    SWEEP_CLASS_UNIT(getClass, isInstance, className)                                                        \
    cases.push_back(throwCase<ThrowForm::Cstr, throwCstr>(#throwCstr, className));                           \
    cases.push_back(throwCase<ThrowForm::KsString, throwKsString>(#throwKsString, className));               \
    cases.push_back(throwCase<ThrowForm::Format, throwFormat>(#throwFormat, className));
    VEN_THROWABLE_UNITS(SWEEP_THROWABLE_UNIT)
    SWEEP_IO_EXCEPTION_UNIT(SWEEP_THROWABLE_UNIT)
#define SWEEP_THROW_MESSAGE_FIRST(getClass, isInstance, throwMessage, className)                             \
    SWEEP_CLASS_UNIT(getClass, isInstance, className)                                                        \
    cases.push_back(throwCase<ThrowForm::MessageFirst, throwMessage>(#throwMessage, className));
    VEN_THROWABLE_UNITS_MESSAGE_FIRST(SWEEP_THROW_MESSAGE_FIRST)
#define SWEEP_BOXING(name, getClass, sig, Ven, Jni)                                                          \
    cases.push_back({#name, [](Variant v) { return outCall(name, v == Bad, Ven{1}); },                       \
                     "boxing fails only for want of memory", nullptr, 1});
    VEN_BOXING_FUNCTIONS(SWEEP_BOXING)
    cases.push_back(lookupCase<venGetFieldID>("venGetFieldID", "intField", "I", true));
    cases.push_back(lookupCase<venGetStaticFieldID>("venGetStaticFieldID", "staticIntField", "I", true));
    cases.push_back(lookupCase<venGetMethodID>("venGetMethodID", "intGet", "()I", false));
    cases.push_back(lookupCase<venGetStaticMethodID>("venGetStaticMethodID", "staticIntGet", "()I", false));
    std::ranges::move(oneOffs(), std::back_inserter(cases));
    return cases;
}

// Functions outside the success-flag convention, or that end the test process's JVM use.
const std::vector<Exclusion> kExcluded = {
    // The frame: the process's VM registry and thread attachment, which the harness owns.
    {"venSetJavaVm", "the frame: the harness registers its one VM"},
    {"venDelJavaVm", "the frame: would unregister the harness's VM"},
    {"venGetJavaVm", "the frame: no JNI call, no success flag"},
    {"venGetMainJniEnv", "the frame: no JNI call"},
    {"venTryGetMainJniEnv", "the frame: no JNI call"},
    {"venAttachCurrentThread", "the frame: thread attachment, the threads suite's"},
    {"venAttachCurrentThreadAsDaemon", "the frame: thread attachment, the threads suite's"},
    {"venDetachCurrentThread", "the frame: would detach the harness's main thread"},
    {"venCheckEncapsulated", "the frame: no JNI call"},
    {"venModule", "the module descriptor: no JNI call"},
    // Straight to the wrapper, with no success flag and no argument failure.
    {"venExceptionOccurred", "no success flag: straight to the wrapper"},
    {"venExceptionDescribe", "no success flag: straight to the wrapper"},
    {"venExceptionClear", "no success flag: straight to the wrapper"},
    {"venExceptionCheck", "no success flag: straight to the wrapper"},
    {"venDeleteLocalRef", "no success flag: straight to the wrapper"},
    {"venDeleteGlobalRef", "no success flag: straight to the wrapper"},
    {"venDeleteWeakGlobalRef", "no success flag: straight to the wrapper"},
    {"venPopLocalFrame", "no success flag: straight to the wrapper"},
    {"venNewLocalRef", "no success flag: straight to the wrapper"},
    {"venIsSameObject", "no success flag: straight to the wrapper"},
    {"venFatalError", "does not return: the VM ends the process"},
};

} // namespace ven::sweeps
