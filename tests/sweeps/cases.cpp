// The sweep's cases: the library's family tables expanded through one template per kind, and
// a table of its own for the functions that belong to no family.
#include <array>
#include <cstdarg>
#include <cstdint>
#include <type_traits>

#include "../../source/ven/integration/array_table.hpp"
#include "../../source/ven/integration/call_table.hpp"
#include "../../source/ven/integration/field_table.hpp"
#include "../../source/ven/integration/string_table.hpp"
#include "../../source/ven/java/lang/boxed_table.hpp"
#include "../../source/ven/java/lang/throwable_table.hpp"
#include "../../source/ven/java/util/collection_table.hpp"
#include "sweep.hpp"

namespace ven::sweeps
{
namespace
{

constexpr KS_INT kBeyondJint = KS_INT{1} << 40;
constexpr KS_INT kHugeLength = INT32_MAX; // beyond the VM's array limit: a prompt OutOfMemoryError

JNIEnv* real()
{
    return mainEnv();
}

template <auto Member, typename... A> auto jni(JNIEnv* env, A... args)
{
    return (env->functions->*Member)(env, args...);
}

jobject global(jobject local)
{
    jobject made = real()->NewGlobalRef(local);
    real()->DeleteLocalRef(local);
    return made;
}

// What an out-parameter holds after the call is let go of: local references and ks objects.
template <typename Out> void letGo(Out& out)
{
    if constexpr (std::is_convertible_v<Out, jobject>) {
        if (out != nullptr) {
            real()->DeleteLocalRef(out);
        }
    } else if constexpr (std::is_same_v<Out, ksString*> || std::is_same_v<Out, ksBuffer*>) {
        ksObjRelease(out);
    }
    out = Out{};
}

// A call with an out-parameter; nullResult passes NULL in its place (the bad argument).
template <typename Out>
Prepared withOut(
    bool nullResult, std::function<KS_BOOL(Out*, JNIEnv*, lgStream*)> call,
    std::function<void()> restore = [] {})
{
    auto slot = std::make_shared<Out>();
    Prepared prepared;
    prepared.act = [=](JNIEnv* env, lgStream* trace) {
        return call(nullResult ? nullptr : slot.get(), env, trace);
    };
    prepared.cleanup = [=] {
        letGo(*slot);
        restore();
    };
    if constexpr (std::is_convertible_v<Out, jobject>) {
        prepared.out = reinterpret_cast<jobject*>(slot.get());
    }
    prepared.state = slot;
    return prepared;
}

Prepared plain(
    std::function<KS_BOOL(JNIEnv*, lgStream*)> act, std::function<void()> cleanup = [] {})
{
    Prepared prepared;
    prepared.act = std::move(act);
    prepared.cleanup = std::move(cleanup);
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

template <typename Ven> Ven someValue()
{
    if constexpr (std::is_same_v<Ven, jobject>) {
        return world().text;
    } else {
        return Ven{1};
    }
}

// A value beyond the writer's range test.
template <typename Ven> Ven outOfRange()
{
    if constexpr (std::is_same_v<Ven, KS_CHAR>) {
        return 0x110000;
    } else {
        return kBeyondJint;
    }
}

template <FieldKind kind, typename Target, typename Ven, typename Jni, bool ranged, auto F>
Case fieldCase(const char* name)
{
    constexpr bool isStatic = std::is_same_v<Target, jclass>;
    constexpr bool text = kind == FieldKind::GetString || kind == FieldKind::SetString;
    constexpr bool reads = kind == FieldKind::Get || kind == FieldKind::GetString;
    using Type = std::conditional_t<text, JavaString, JniType<Jni>>;
    Case row{name};
    row.prepare = [](Variant variant) -> Prepared {
        World& w = world();
        const std::string field = member<Type>(isStatic, "Field");
        jfieldID id = isStatic ? real()->GetStaticFieldID(w.fields, field.c_str(), Type::kSig)
                               : real()->GetFieldID(w.fields, field.c_str(), Type::kSig);
        Target target{};
        if constexpr (isStatic) {
            target = w.fields;
        } else {
            target = variant == Variant::Fail ? w.badTextFields : w.fieldsObj;
        }
        if constexpr (reads) {
            if (variant == Variant::Fail && !text) {
                return {};
            }
            std::function<void()> restore = [] {};
            if (variant == Variant::Fail && isStatic) {
                real()->SetStaticObjectField(w.fields, id, w.badText);
                restore = [id] { real()->SetStaticObjectField(world().fields, id, world().text); };
            }
            return withOut<Ven>(
                variant == Variant::Bad,
                [=](Ven* result, JNIEnv* env, lgStream* trace) { return F(result, env, trace, target, id); },
                restore);
        } else {
            if (variant == Variant::Fail) {
                return {};
            }
            Ven value{};
            std::function<void()> cleanup = [] {};
            if constexpr (text) {
                value = ksStringCreateFromCstr("written", -1);
                cleanup = [value] { ksObjRelease(value); };
            } else {
                value = someValue<Ven>();
            }
            if (variant == Variant::Bad) {
                if constexpr (ranged) {
                    value = outOfRange<Ven>();
                } else {
                    target = Target{};
                }
            }
            return plain([=](JNIEnv* env, lgStream* trace) { return F(env, trace, target, id, value); },
                         cleanup);
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
template <auto F> KS_BOOL virtualV(jobject* r, JNIEnv* e, lgStream* t, jobject o, jmethodID m, ...)
{
    va_list args;
    va_start(args, m);
    KS_BOOL ok = F(r, e, t, o, m, args);
    va_end(args);
    return ok;
}
template <auto F>
KS_BOOL nonvirtualV(jobject* r, JNIEnv* e, lgStream* t, jobject o, jclass c, jmethodID m, ...)
{
    va_list args;
    va_start(args, m);
    KS_BOOL ok = F(r, e, t, o, c, m, args);
    va_end(args);
    return ok;
}
template <auto F> KS_BOOL staticV(jobject* r, JNIEnv* e, lgStream* t, jclass c, jmethodID m, ...)
{
    va_list args;
    va_start(args, m);
    KS_BOOL ok = F(r, e, t, c, m, args);
    va_end(args);
    return ok;
}

// Methods.failure set for the Fail variant makes the called method throw.
std::function<void()> failMethods(Variant variant)
{
    if (variant != Variant::Fail) {
        return [] {};
    }
    JNIEnv* env = real();
    jfieldID failure = env->GetStaticFieldID(world().methods, "failure", "Ljava/lang/Throwable;");
    env->SetStaticObjectField(world().methods, failure,
                              makeThrowable(env, "fixtures/FixtureException", "requested"));
    return [failure] { real()->SetStaticObjectField(world().methods, failure, nullptr); };
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
                 isStatic ? real()->GetStaticMethodID(w.methods, method.c_str(), sig.c_str())
                          : real()->GetMethodID(w.methods, method.c_str(), sig.c_str())};
        if (variant == Variant::Bad) {
            if constexpr (isStatic) {
                t.clazz = nullptr;
            } else {
                t.obj = nullptr;
            }
        }
        std::function<void()> restore = failMethods(variant);
        if constexpr (form == Form::Void) {
            return plain([=](JNIEnv* env, lgStream* trace) { return invoke<kind>(F, t, env, trace); },
                         restore);
        } else if constexpr (form == Form::VaList) {
            return withOut<jobject>(
                false,
                [=](jobject* result, JNIEnv* env, lgStream* trace) {
                    if constexpr (kind == Kind::Virtual) {
                        return invoke<kind>(virtualV<F>, t, result, env, trace);
                    } else if constexpr (kind == Kind::Nonvirtual) {
                        return invoke<kind>(nonvirtualV<F>, t, result, env, trace);
                    } else {
                        return invoke<kind>(staticV<F>, t, result, env, trace);
                    }
                },
                restore);
        } else {
            return withOut<Ven>(
                false,
                [=](Ven* result, JNIEnv* env, lgStream* trace) {
                    return invoke<kind>(F, t, result, env, trace);
                },
                restore);
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
        if constexpr (kind == ArrayKind::New) {
            const KS_INT length = variant == Variant::Succeed ? 3
                                  : variant == Variant::Fail  ? kHugeLength
                                                              : -1;
            return withOut<Array>(false, [=](Array* result, JNIEnv* env, lgStream* trace) {
                return F(result, env, trace, length);
            });
        } else if constexpr (kind == ArrayKind::Pin) {
            if (variant == Variant::Fail) {
                return {};
            }
            Array target = variant == Variant::Bad ? nullptr : array;
            return plain([=](JNIEnv* env, lgStream* trace) {
                Element* elements = nullptr;
                KS_BOOL isCopy = KS_FALSE;
                const KS_BOOL ok = F(&elements, env, trace, target, &isCopy);
                if (ok) {
                    jni<P::kUnpin>(real(), target, elements, JNI_ABORT);
                }
                return ok;
            });
        } else if constexpr (kind == ArrayKind::Release) {
            if (variant == Variant::Fail) {
                return {};
            }
            auto pinned = std::make_shared<Element*>(nullptr);
            static Element dummy{};
            if (variant == Variant::Succeed) {
                *pinned = jni<P::kPin>(real(), array, nullptr);
            }
            Array target = variant == Variant::Bad ? nullptr : array;
            Prepared prepared = plain(
                [=](JNIEnv* env, lgStream* trace) {
                    const KS_BOOL ok = F(env, trace, target, *pinned != nullptr ? *pinned : &dummy, 0);
                    if (ok) {
                        *pinned = nullptr;
                    }
                    return ok;
                },
                [=] {
                    if (*pinned != nullptr) {
                        jni<P::kUnpin>(real(), array, *pinned, JNI_ABORT);
                    }
                });
            prepared.state = pinned;
            return prepared;
        } else {
            const KS_INT start = variant == Variant::Succeed ? 0
                                 : variant == Variant::Fail  ? 10
                                                             : kBeyondJint;
            auto buffer = std::make_shared<std::array<Element, 4>>();
            Prepared prepared = plain(
                [=](JNIEnv* env, lgStream* trace) { return F(env, trace, array, start, 2, buffer->data()); });
            prepared.state = buffer;
            return prepared;
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

// ---- Strings ------------------------------------------------------------------------------

// The JNI pair of each pinning wrapper.
#define SWEEP_UNPIN_ven___GetStringChars &Entry::ReleaseStringChars
#define SWEEP_UNPIN_ven___GetStringUTFChars &Entry::ReleaseStringUTFChars
#define SWEEP_UNPIN_ven___GetStringCritical &Entry::ReleaseStringCritical
#define SWEEP_PIN_ven___ReleaseStringChars &Entry::GetStringChars, &Entry::ReleaseStringChars
#define SWEEP_PIN_ven___ReleaseStringUTFChars &Entry::GetStringUTFChars, &Entry::ReleaseStringUTFChars
#define SWEEP_PIN_ven___ReleaseStringCritical &Entry::GetStringCritical, &Entry::ReleaseStringCritical

template <auto F> Case stringLengthCase(const char* name)
{
    Case row{name};
    row.prepare = [](Variant variant) -> Prepared {
        if (variant == Variant::Fail) {
            return {};
        }
        jstring string = variant == Variant::Bad ? nullptr : world().text;
        return withOut<KS_INT>(false, [=](KS_INT* result, JNIEnv* env, lgStream* trace) {
            return F(result, env, trace, string);
        });
    };
    row.cannotFail = "the length of a string raises nothing";
    return row;
}

template <typename Char, auto F, auto Unpin> Case stringPinCase(const char* name)
{
    Case row{name};
    row.prepare = [](Variant variant) -> Prepared {
        if (variant == Variant::Fail) {
            return {};
        }
        jstring string = variant == Variant::Bad ? nullptr : world().text;
        return plain([=](JNIEnv* env, lgStream* trace) {
            const Char* chars = nullptr;
            KS_BOOL isCopy = KS_FALSE;
            const KS_BOOL ok = F(&chars, env, trace, string, &isCopy);
            if (ok) {
                jni<Unpin>(real(), string, chars);
            }
            return ok;
        });
    };
    row.cannotFail = "pinning or copying fails only for want of memory (left to the fault sweep)";
    return row;
}

template <typename Char, auto F, auto Pin, auto Unpin> Case stringReleaseCase(const char* name)
{
    Case row{name};
    row.prepare = [](Variant variant) -> Prepared {
        if (variant == Variant::Fail) {
            return {};
        }
        jstring string = variant == Variant::Bad ? nullptr : world().text;
        auto chars =
            std::make_shared<const Char*>(string != nullptr ? jni<Pin>(real(), string, nullptr) : nullptr);
        Prepared prepared = plain(
            [=](JNIEnv* env, lgStream* trace) {
                const KS_BOOL ok = F(env, trace, string, *chars);
                if (ok) {
                    *chars = nullptr;
                }
                return ok;
            },
            [=] {
                if (*chars != nullptr) {
                    jni<Unpin>(real(), string, *chars);
                }
            });
        prepared.state = chars;
        return prepared;
    };
    row.cannotFail = "a release raises nothing";
    return row;
}

template <typename Char, auto F> Case stringRegionCase(const char* name)
{
    Case row{name};
    row.prepare = [](Variant variant) -> Prepared {
        auto buffer = std::make_shared<std::array<Char, 16>>();
        const jsize start = variant == Variant::Fail ? 100 : 0;
        Char* target = variant == Variant::Bad ? nullptr : buffer->data();
        Prepared prepared = plain(
            [=](JNIEnv* env, lgStream* trace) { return F(env, trace, world().text, start, 2, target); });
        prepared.state = buffer;
        return prepared;
    };
    return row;
}

// ---- Class units --------------------------------------------------------------------------

template <auto F> Case classLookupCase(const char* name)
{
    Case row{name};
    row.prepare = [](Variant variant) -> Prepared {
        if (variant == Variant::Fail) {
            return {};
        }
        return withOut<jclass>(variant == Variant::Bad, [](jclass* result, JNIEnv* env, lgStream* trace) {
            return F(result, env, trace);
        });
    };
    row.cannotFail = "the unit's class is always there";
    row.delivers = 1;
    return row;
}

template <auto F> Case instanceTestCase(const char* name)
{
    Case row{name};
    row.prepare = [](Variant variant) -> Prepared {
        if (variant == Variant::Fail) {
            return {};
        }
        return withOut<KS_BOOL>(variant == Variant::Bad, [](KS_BOOL* result, JNIEnv* env, lgStream* trace) {
            return F(result, env, trace, world().text);
        });
    };
    row.cannotFail = "an instance test raises nothing";
    return row;
}

enum class ThrowForm { Cstr, KsString, Format, MessageFirst };

template <ThrowForm form, auto F> Case throwCase(const char* name, const char* className)
{
    Case row{name};
    row.prepare = [](Variant variant) -> Prepared {
        if (variant == Variant::Fail || (form == ThrowForm::Format && variant == Variant::Bad)) {
            return {};
        }
        const bool bad = variant == Variant::Bad;
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

} // namespace

// ---- The world ------------------------------------------------------------------------------

World& world()
{
    static World* made = [] {
        JNIEnv* env = real();
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
        const int lengths = 4;
        w->arrays[0] = static_cast<jarray>(global(env->NewBooleanArray(lengths)));
        w->arrays[1] = static_cast<jarray>(global(env->NewByteArray(lengths)));
        w->arrays[2] = static_cast<jarray>(global(env->NewCharArray(lengths)));
        w->arrays[3] = static_cast<jarray>(global(env->NewShortArray(lengths)));
        w->arrays[4] = static_cast<jarray>(global(env->NewIntArray(lengths)));
        w->arrays[5] = static_cast<jarray>(global(env->NewLongArray(lengths)));
        w->arrays[6] = static_cast<jarray>(global(env->NewFloatArray(lengths)));
        w->arrays[7] = static_cast<jarray>(global(env->NewDoubleArray(lengths)));
        w->objectArray = static_cast<jobjectArray>(global(env->NewObjectArray(2, w->object, nullptr)));
        env->DeleteLocalRef(arrayList);
        env->DeleteLocalRef(listClass);
        return w;
    }();
    return *made;
}

namespace
{

bool skipFail(Variant variant)
{
    return variant == Variant::Fail;
}

jint JNICALL answer(JNIEnv*, jclass)
{
    return 42;
}

// The sweep's own rows: the functions outside the family tables.
void addOneOffs(std::vector<Case>& cases)
{
    World& w = world();
    // clang-format off

    // Class lookup, objects, references, frames, natives, monitors.
    cases.push_back({"venFindClass", [](Variant v) {
        const char* name = v == Variant::Succeed ? "fixtures/Fields" : v == Variant::Fail ? "no/such/Class" : nullptr;
        return withOut<jclass>(false, [=](jclass* r, JNIEnv* e, lgStream* t) { return venFindClass(r, e, t, name); });
    }, nullptr, nullptr, 1});
    cases.push_back({"venAllocObject", [&w](Variant v) {
        jclass clazz = v == Variant::Succeed ? w.fields : v == Variant::Fail ? w.collection : nullptr;
        return withOut<jobject>(false, [=](jobject* r, JNIEnv* e, lgStream* t) { return venAllocObject(r, e, t, clazz); });
    }, nullptr, nullptr, 1});
    cases.push_back({"venNewObject", [&w](Variant v) {
        jclass clazz = v == Variant::Fail ? w.integer : w.fields;
        jmethodID init = v == Variant::Bad ? nullptr : v == Variant::Fail ? real()->GetMethodID(clazz, "<init>", "(Ljava/lang/String;)V") : real()->GetMethodID(clazz, "<init>", "()V");
        return withOut<jobject>(false, [=](jobject* r, JNIEnv* e, lgStream* t) { return venNewObject(r, e, t, clazz, init, w.text); });
    }, nullptr, nullptr, 1});
    cases.push_back({"venGetObjectClass", [&w](Variant v) {
        jobject obj = v == Variant::Bad ? nullptr : w.fieldsObj;
        return skipFail(v) ? Prepared{} : withOut<jclass>(false, [=](jclass* r, JNIEnv* e, lgStream* t) { return venGetObjectClass(r, e, t, obj); });
    }, "the class of an object is always there", nullptr, 1});
    cases.push_back({"venIsInstanceOf", [&w](Variant v) {
        jclass clazz = v == Variant::Bad ? nullptr : w.object;
        return skipFail(v) ? Prepared{} : withOut<KS_BOOL>(false, [=](KS_BOOL* r, JNIEnv* e, lgStream* t) { return venIsInstanceOf(r, e, t, w.text, clazz); });
    }, "an instance test raises nothing"});
    cases.push_back({"venGetVersion", [](Variant v) {
        return skipFail(v) ? Prepared{} : withOut<KS_INT>(v == Variant::Bad, [](KS_INT* r, JNIEnv* e, lgStream* t) { return venGetVersion(r, e, t); });
    }, "the version raises nothing"});
    cases.back().successWarns = "ven___GetVersion is a direct call: it neither clears nor sets aside the pending exception";
    cases.push_back({"venNewGlobalRef", [&w](Variant v) {
        jobject obj = v == Variant::Bad ? nullptr : w.text;
        auto ref = std::make_shared<jobject>(nullptr);
        Prepared p = skipFail(v) ? Prepared{} : plain([=](JNIEnv* e, lgStream* t) { return venNewGlobalRef(ref.get(), e, t, obj); },
                                                     [=] { if (*ref) real()->DeleteGlobalRef(*ref); });
        p.state = ref;
        return p;
    }, "a new global reference fails only for want of memory"});
    cases.push_back({"venNewWeakGlobalRef", [&w](Variant v) {
        jobject obj = v == Variant::Bad ? nullptr : w.text;
        auto ref = std::make_shared<jweak>(nullptr);
        Prepared p = skipFail(v) ? Prepared{} : plain([=](JNIEnv* e, lgStream* t) { return venNewWeakGlobalRef(ref.get(), e, t, obj); },
                                                     [=] { if (*ref) real()->DeleteWeakGlobalRef(*ref); });
        p.state = ref;
        return p;
    }, "a new weak global reference fails only for want of memory"});
    cases.push_back({"venEnsureLocalCapacity", [](Variant v) {
        jint capacity = v == Variant::Bad ? -1 : 8;
        return skipFail(v) ? Prepared{} : plain([=](JNIEnv* e, lgStream* t) { return venEnsureLocalCapacity(e, t, capacity); });
    }, "within HotSpot's limit only memory refuses a capacity; beyond it HotSpot refuses without raising, which the wrapper's consistency check stops the process for"});
    cases.back().untracedFailure = "a refused capacity is reported by the result alone";
    cases.push_back({"venPushLocalFrame", [](Variant v) {
        jint capacity = v == Variant::Bad ? -1 : 8;
        auto pushed = std::make_shared<KS_BOOL>(KS_FALSE);
        Prepared p = skipFail(v) ? Prepared{} : plain([=](JNIEnv* e, lgStream* t) { return *pushed = venPushLocalFrame(e, t, capacity); },
                                                     [=] { if (*pushed) real()->PopLocalFrame(nullptr); });
        p.state = pushed;
        return p;
    }, "within HotSpot's limit only memory refuses a frame; beyond it HotSpot refuses without raising, which the wrapper's consistency check stops the process for"});
    cases.back().untracedFailure = "a refused frame is reported by the result alone";
    cases.push_back({"venRegisterNatives", [&w](Variant v) {
        static JNINativeMethod good{const_cast<char*>("answer"), const_cast<char*>("()I"), reinterpret_cast<void*>(&answer)};
        static JNINativeMethod missing{const_cast<char*>("noSuchMethod"), const_cast<char*>("()I"), reinterpret_cast<void*>(&answer)};
        const JNINativeMethod* methods = v == Variant::Succeed ? &good : v == Variant::Fail ? &missing : nullptr;
        return plain([=](JNIEnv* e, lgStream* t) { return venRegisterNatives(e, t, w.natives, methods, 1); },
                     [&w] { real()->UnregisterNatives(w.natives); });
    }});
    cases.push_back({"venUnregisterNatives", [&w](Variant v) {
        jclass clazz = v == Variant::Bad ? nullptr : w.natives;
        return skipFail(v) ? Prepared{} : plain([=](JNIEnv* e, lgStream* t) { return venUnregisterNatives(e, t, clazz); });
    }, "unregistering raises nothing"});
    cases.push_back({"venMonitorEnter", [&w](Variant v) {
        jobject obj = v == Variant::Bad ? nullptr : w.fieldsObj;
        auto entered = std::make_shared<KS_BOOL>(KS_FALSE);
        Prepared p = skipFail(v) ? Prepared{} : plain([=](JNIEnv* e, lgStream* t) { return *entered = venMonitorEnter(e, t, obj); },
                                                     [=] { if (*entered) real()->MonitorExit(obj); });
        p.state = entered;
        return p;
    }, "entering a monitor fails only for want of memory"});
    cases.push_back({"venMonitorLeave", [&w](Variant v) {
        jobject obj = v == Variant::Bad ? nullptr : w.fieldsObj;
        if (skipFail(v)) return Prepared{};
        auto held = std::make_shared<bool>(v == Variant::Succeed && real()->MonitorEnter(obj) == JNI_OK);
        Prepared p = plain([=](JNIEnv* e, lgStream* t) {
            const KS_BOOL ok = venMonitorLeave(e, t, obj);
            if (ok) *held = false;
            return ok;
        }, [=] { if (*held) real()->MonitorExit(obj); });
        p.state = held;
        return p;
    }, "the wrapper stops the process when leaving fails (left to the fault sweep)"});
    cases.push_back({"venThrow", [&w](Variant v) {
        jthrowable throwable = v == Variant::Bad ? nullptr : static_cast<jthrowable>(real()->NewLocalRef(w.toStringThrowsObj));
        return skipFail(v) ? Prepared{} : plain([=](JNIEnv* e, lgStream* t) { return venThrow(e, t, throwable, "sweep"); });
    }, "the throw raises by design", nullptr, 0, OnSuccess::Rethrows, "fixtures/ToStringThrows"});
    cases.push_back({"venThrowNew", [&w](Variant v) {
        jclass clazz = v == Variant::Bad ? nullptr : w.fixtureException;
        return skipFail(v) ? Prepared{} : plain([=](JNIEnv* e, lgStream* t) { return venThrowNew(e, t, clazz, "thrown", "sweep"); });
    }, "the throw raises by design", nullptr, 0, OnSuccess::Throws, "fixtures/FixtureException"});

    // Strings and arrays outside the families.
    cases.push_back({"venNewString", [](Variant v) {
        static const jchar units[] = {'a', 0x4e2d};
        KS_INT length = v == Variant::Bad ? -1 : 2;
        return skipFail(v) ? Prepared{} : withOut<jstring>(false, [=](jstring* r, JNIEnv* e, lgStream* t) { return venNewString(r, e, t, units, length); });
    }, "a new string fails only for want of memory", nullptr, 1});
    cases.push_back({"venNewStringUTF", [](Variant v) {
        const char* bytes = v == Variant::Bad ? nullptr : "text";
        return skipFail(v) ? Prepared{} : withOut<jstring>(false, [=](jstring* r, JNIEnv* e, lgStream* t) { return venNewStringUTF(r, e, t, bytes); });
    }, "a new string fails only for want of memory", nullptr, 1});
    cases.push_back({"venGetArrayLength", [&w](Variant v) {
        jarray array = v == Variant::Bad ? nullptr : w.arrays[4];
        return skipFail(v) ? Prepared{} : withOut<KS_INT>(false, [=](KS_INT* r, JNIEnv* e, lgStream* t) { return venGetArrayLength(r, e, t, array); });
    }, "the length of an array raises nothing"});
    cases.push_back({"venNewObjectArray", [&w](Variant v) {
        KS_INT length = v == Variant::Fail ? kHugeLength : 2;
        jclass clazz = v == Variant::Bad ? nullptr : w.object;
        return withOut<jobjectArray>(false, [=](jobjectArray* r, JNIEnv* e, lgStream* t) { return venNewObjectArray(r, e, t, length, clazz, w.text); });
    }, nullptr, nullptr, 1});
    cases.push_back({"venSetObjectArrayElement", [&w](Variant v) {
        KS_INT index = v == Variant::Succeed ? 1 : v == Variant::Fail ? 10 : kBeyondJint;
        return plain([=](JNIEnv* e, lgStream* t) { return venSetObjectArrayElement(e, t, w.objectArray, index, w.text); });
    }});
    cases.push_back({"venGetPrimitiveArrayCritical", [&w](Variant v) {
        jarray array = v == Variant::Bad ? nullptr : w.arrays[4];
        return skipFail(v) ? Prepared{} : plain([=](JNIEnv* e, lgStream* t) {
            void* elements = nullptr;
            const KS_BOOL ok = venGetPrimitiveArrayCritical(&elements, e, t, array, nullptr);
            if (ok) real()->ReleasePrimitiveArrayCritical(array, elements, JNI_ABORT);
            return ok;
        });
    }, "pinning fails only for want of memory (left to the fault sweep)"});
    cases.push_back({"venReleasePrimitiveArrayCritical", [&w](Variant v) {
        static jint dummy;
        if (skipFail(v)) return Prepared{};
        jarray array = v == Variant::Bad ? nullptr : w.arrays[4];
        auto pinned = std::make_shared<void*>(v == Variant::Succeed ? real()->GetPrimitiveArrayCritical(array, nullptr) : nullptr);
        Prepared p = plain([=](JNIEnv* e, lgStream* t) {
            const KS_BOOL ok = venReleasePrimitiveArrayCritical(e, t, array, *pinned != nullptr ? *pinned : &dummy, 0);
            if (ok) *pinned = nullptr;
            return ok;
        }, [=] { if (*pinned != nullptr) real()->ReleasePrimitiveArrayCritical(array, *pinned, JNI_ABORT); });
        p.state = pinned;
        return p;
    }, "a release raises nothing"});

    // Trace functions: they describe, never change what is pending, and report a missing
    // argument in the stream alone.
    const auto traced = [](std::function<KS_BOOL(JNIEnv*, lgStream*)> trace) {
        return [trace](Variant v) {
            return v != Variant::Succeed ? Prepared{} : plain([trace](JNIEnv* e, lgStream* t) {
                if (!real()->ExceptionCheck()) real()->Throw(world().e1);
                return trace(e, t);
            });
        };
    };
    const char* traceCannotFail = "the trace keeps the pending exception whatever its own calls meet";
    const char* traceNoBad = "a missing argument is reported in the stream, raising nothing";
    cases.push_back({"venTraceException", traced([&w](JNIEnv* e, lgStream* t) { return venTraceException(e, t, w.e1, KS_TRUE, "sweep"); }), traceCannotFail, traceNoBad, 0, OnSuccess::Traces});
    cases.push_back({"venTraceExceptionOccurred", traced([](JNIEnv* e, lgStream* t) { return venTraceExceptionOccurred(e, t, KS_TRUE, "sweep"); }), traceCannotFail, traceNoBad, 0, OnSuccess::Traces});
    cases.push_back({"venTraceErrorOrRuntimeException", traced([&w](JNIEnv* e, lgStream* t) { return venTraceErrorOrRuntimeException(e, t, w.e1, "sweep"); }), traceCannotFail, traceNoBad, 0, OnSuccess::Traces});
    cases.push_back({"venTraceErrorOrRuntimeExceptionOccurred", traced([](JNIEnv* e, lgStream* t) { return venTraceErrorOrRuntimeExceptionOccurred(e, t, "sweep"); }), traceCannotFail, traceNoBad, 0, OnSuccess::Traces});

    // Bridges.
    cases.push_back({"venNewStringArrayFromKsVector", [](Variant v) {
        auto vec = std::shared_ptr<ksVector>(v == Variant::Bad ? nullptr : ksVectorCreate(), [](ksVector* p) { ksObjRelease(p); });
        for (const char* text : {"a", "b"}) {
            if (vec) { ksString* s = ksStringCreateFromCstr(text, -1); ksVectorAppend(vec.get(), s); ksObjRelease(s); }
        }
        Prepared p = skipFail(v) ? Prepared{} : withOut<jobjectArray>(false, [=](jobjectArray* r, JNIEnv* e, lgStream* t) { return venNewStringArrayFromKsVector(r, e, t, vec.get()); }, [vec]() mutable { vec.reset(); });
        return p;
    }, "the strings and the array fail only for want of memory", nullptr, 1});
    cases.push_back({"venNewByteArrayFromBuffer", [](Variant v) {
        static const char bytes[] = "abc";
        auto buffer = std::shared_ptr<ksBuffer>(v == Variant::Bad ? nullptr : ksBufferCreateFromBytesCopy(bytes, 3), [](ksBuffer* p) { ksObjRelease(p); });
        return skipFail(v) ? Prepared{} : withOut<jbyteArray>(false, [=](jbyteArray* r, JNIEnv* e, lgStream* t) { return venNewByteArrayFromBuffer(r, e, t, buffer.get()); }, [buffer]() mutable { buffer.reset(); });
    }, "the array fails only for want of memory", nullptr, 1, OnSuccess::Keeps, nullptr, nullptr, "a failed copy leaves the new array in *result"});
    cases.push_back({"venNewDoubleArrayOf", [](Variant v) {
        static const double source[] = {1.5, 2.5};
        KS_INT length = v == Variant::Fail ? kHugeLength : 2;
        const double* from = v == Variant::Bad ? nullptr : source;
        return withOut<jdoubleArray>(false, [=](jdoubleArray* r, JNIEnv* e, lgStream* t) { return venNewDoubleArrayOf(r, e, t, from, length); });
    }, nullptr, nullptr, 1, OnSuccess::Keeps, nullptr, nullptr, "a failed pin leaves the new array in *result"});
    cases.push_back({"venGetByteArrayRegionAsBuffer", [&w](Variant v) {
        KS_INT start = v == Variant::Fail ? 10 : 0;
        return withOut<ksBuffer*>(v == Variant::Bad, [=](ksBuffer** r, JNIEnv* e, lgStream* t) { return venGetByteArrayRegionAsBuffer(r, e, t, static_cast<jbyteArray>(w.arrays[1]), start, 2); });
    }});
    cases.push_back({"venGetPrimitiveArrayAsKsBuffer", [&w](Variant v) {
        return skipFail(v) ? Prepared{} : withOut<ksBuffer*>(v == Variant::Bad, [=](ksBuffer** r, JNIEnv* e, lgStream* t) { return venGetPrimitiveArrayAsKsBuffer(r, e, t, w.arrays[1]); });
    }, "pinning fails only for want of memory"});
    cases.push_back({"venCopyIntArrayElements", [&w](Variant v) {
        auto target = std::make_shared<std::array<KS_INT, 4>>();
        KS_INT* into = v == Variant::Bad ? nullptr : target->data();
        Prepared p = skipFail(v) ? Prepared{} : plain([=](JNIEnv* e, lgStream* t) { return venCopyIntArrayElements(into, e, t, static_cast<jintArray>(w.arrays[4]), 4); });
        p.state = target;
        return p;
    }, "pinning fails only for want of memory"});
    cases.push_back({"venCopyDoubleArrayElements", [&w](Variant v) {
        auto target = std::make_shared<std::array<double, 4>>();
        double* into = v == Variant::Bad ? nullptr : target->data();
        Prepared p = skipFail(v) ? Prepared{} : plain([=](JNIEnv* e, lgStream* t) { return venCopyDoubleArrayElements(into, e, t, static_cast<jdoubleArray>(w.arrays[7]), 4); });
        p.state = target;
        return p;
    }, "pinning fails only for want of memory"});

    // Class support beyond lookups, instance tests and throws.
    cases.push_back({"venObjectToString", [&w](Variant v) {
        jobject obj = v == Variant::Fail ? w.toStringThrowsObj : v == Variant::Bad ? nullptr : w.fieldsObj;
        return withOut<ksString*>(false, [=](ksString** r, JNIEnv* e, lgStream* t) { return venObjectToString(r, e, t, obj); });
    }});
    cases.push_back({"venArrayListNew", [](Variant v) {
        return skipFail(v) ? Prepared{} : withOut<jobject>(v == Variant::Bad, [](jobject* r, JNIEnv* e, lgStream* t) { return venArrayListNew(r, e, t); });
    }, "a new list fails only for want of memory", nullptr, 1});
    cases.push_back({"venArrayListGet", [&w](Variant v) {
        KS_INT index = v == Variant::Succeed ? 0 : v == Variant::Fail ? 5 : kBeyondJint;
        return withOut<jobject>(false, [=](jobject* r, JNIEnv* e, lgStream* t) { return venArrayListGet(r, e, t, w.list, index); });
    }, nullptr, nullptr, 1});
    cases.push_back({"venArrayListSize", [&w](Variant v) {
        jobject list = v == Variant::Bad ? nullptr : w.list;
        return skipFail(v) ? Prepared{} : withOut<KS_INT>(false, [=](KS_INT* r, JNIEnv* e, lgStream* t) { return venArrayListSize(r, e, t, list); });
    }, "the size of a list raises nothing"});
    // An immutable list refuses null elements in contains, and every add.
    cases.push_back({"venCollectionContains", [&w](Variant v) {
        jobject collection = v == Variant::Bad ? nullptr : v == Variant::Fail ? w.immutableList : w.list;
        jobject element = v == Variant::Fail ? nullptr : w.text;
        return withOut<KS_BOOL>(false, [=](KS_BOOL* r, JNIEnv* e, lgStream* t) { return venCollectionContains(r, e, t, collection, element); });
    }});
    cases.push_back({"venCollectionAdd", [&w](Variant v) {
        jobject collection = v == Variant::Bad ? nullptr : v == Variant::Fail ? w.immutableList : w.list;
        if (v == Variant::Succeed) {
            jclass arrayList = real()->GetObjectClass(w.list);
            collection = real()->NewObject(arrayList, real()->GetMethodID(arrayList, "<init>", "()V"));
        }
        return withOut<KS_BOOL>(false, [=](KS_BOOL* r, JNIEnv* e, lgStream* t) { return venCollectionAdd(r, e, t, collection, w.text); });
    }});
    cases.push_back({"venEnumSetNoneOf", [&w](Variant v) {
        jclass type = v == Variant::Succeed ? w.color : v == Variant::Fail ? w.object : nullptr;
        return withOut<jobject>(false, [=](jobject* r, JNIEnv* e, lgStream* t) { return venEnumSetNoneOf(r, e, t, type); });
    }, nullptr, nullptr, 1});
    cases.push_back({"venStringToKsString", [&w](Variant v) {
        jstring string = v == Variant::Fail ? w.badText : w.text;
        return withOut<ksString*>(v == Variant::Bad, [=](ksString** r, JNIEnv* e, lgStream* t) { return venStringToKsString(r, e, t, string); });
    }, nullptr, nullptr, 0, OnSuccess::Keeps, nullptr, "an ill-formed text is reported as an AssertionError thrown through ThrowNew"});
    cases.push_back({"venStringFromKsString", [](Variant v) {
        auto text = std::shared_ptr<ksString>(ksStringCreateFromCstr("text", -1), [](ksString* p) { ksObjRelease(p); });
        return skipFail(v) ? Prepared{} : withOut<jstring>(v == Variant::Bad, [=](jstring* r, JNIEnv* e, lgStream* t) { return venStringFromKsString(r, e, t, text.get()); }, [text]() mutable { text.reset(); });
    }, "a new string fails only for want of memory", nullptr, 1});
    // clang-format on
}

template <typename Id, auto F>
Case lookupCase(const char* name, const char* member, const char* sig, bool field)
{
    Case row{name};
    row.prepare = [=](Variant v) {
        jclass clazz = v == Variant::Bad ? nullptr : field ? world().fields : world().methods;
        const char* lookedUp = v == Variant::Fail ? "noSuchMember" : member;
        return withOut<Id>(false,
                           [=](Id* r, JNIEnv* e, lgStream* t) { return F(r, e, t, clazz, lookedUp, sig); });
    };
    return row;
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
    cases.push_back(classLookupCase<getClass>(#getClass));                                                   \
    cases.push_back(instanceTestCase<isInstance>(#isInstance));
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
    cases.push_back({#name,                                                                                  \
                     [](Variant v) {                                                                         \
                         return v == Variant::Fail                                                           \
                                    ? Prepared{}                                                             \
                                    : withOut<jobject>(v == Variant::Bad,                                    \
                                                       [](jobject* r, JNIEnv* e, lgStream* t) {              \
                                                           return name(r, e, t, Ven{1});                     \
                                                       });                                                   \
                     },                                                                                      \
                     "boxing fails only for want of memory", nullptr, 1});
    VEN_BOXING_FUNCTIONS(SWEEP_BOXING)
    cases.push_back(lookupCase<jfieldID, venGetFieldID>("venGetFieldID", "intField", "I", true));
    cases.push_back(
        lookupCase<jfieldID, venGetStaticFieldID>("venGetStaticFieldID", "staticIntField", "I", true));
    cases.push_back(lookupCase<jmethodID, venGetMethodID>("venGetMethodID", "intGet", "()I", false));
    cases.push_back(
        lookupCase<jmethodID, venGetStaticMethodID>("venGetStaticMethodID", "staticIntGet", "()I", false));
    addOneOffs(cases);
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
