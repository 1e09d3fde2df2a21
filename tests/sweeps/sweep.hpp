// The sweep suite's rows: one Case per integration and class support function, built from
// the library's own X-macro tables, and the Java objects every case works on.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "support/ven_test.hpp"
#include "ven/ven.h"

namespace ven::sweeps
{

using namespace ven::test;
using Entry = JNINativeInterface_;

// The arguments a case is prepared with: ones that make the function succeed, ones that make
// its JNI call fail, or one argument the function itself refuses.
enum class Variant { Succeed, Fail, Bad };

// What the function does on success to the exception pending on entry.
enum class OnSuccess {
    Keeps,    // it stays pending, the same object
    Throws,   // it is replaced by the function's own exception (of Case::thrown), through ThrowNew
    Rethrows, // as Throws, through Throw, which clears first
    Traces,   // a trace function: it stays pending, and the result tells about the stream only
};

// One prepared call. act runs the function (on the env given: real or FaultEnv); cleanup
// undoes on the real env, with nothing pending, what the preparation and a success did.
struct Prepared {
    std::function<KS_BOOL(JNIEnv*, lgStream*)> act{}; // empty: the variant does not apply
    std::function<void()> cleanup = [] {};
    jobject* out = nullptr; // the local reference out-parameter, if the function has one
    std::shared_ptr<void> state{};
};

struct Case {
    std::string name{};
    std::function<Prepared(Variant)> prepare{};
    // Why no argument makes the function's JNI call fail (nullptr: Variant::Fail applies).
    const char* cannotFail = nullptr;
    // Why no argument is refused by the function (nullptr: Variant::Bad applies).
    const char* noBadArgument = nullptr;
    int delivers = 0; // local references a success hands back through out
    OnSuccess onSuccess = OnSuccess::Keeps;
    const char* thrown = nullptr; // the class an OnSuccess::Throws case leaves pending
    // Why the Fail variant, with an exception pending, throws through ThrowNew (by design,
    // as an argument failure does) and so draws the checker's warning.
    const char* failThrowsNew = nullptr;
    // Why a failure may leave the new local reference in the out-parameter.
    const char* keepsOnFailure = nullptr;
    // Why a failed JNI call leaves no line in the trace stream.
    const char* untracedFailure = nullptr;
    // Why a success, with an exception pending, makes a JNI call that JNI allows only with none
    // pending (a direct wrapper call leaves the exception where it is), drawing the warning.
    const char* successWarns = nullptr;
};

// The objects of the fixtures and the JDK, as global references, made once.
struct World {
    jclass fields, methods, natives, color, object, collection, integer, fixtureException, toStringThrows;
    jobject fieldsObj, badTextFields, methodsObj, childObj, list, immutableList, toStringThrowsObj;
    jstring text, badText;
    jthrowable e1;    // the exception pending in the exception-state sweep
    jarray arrays[8]; // boolean, byte, char, short, int, long, float, double; 4 elements each
    jobjectArray objectArray;
};
World& world();

std::vector<Case> allCases();

// Exported ven[A-Z]* functions that the sweeps do not call, each with the reason.
struct Exclusion {
    const char* name;
    const char* why;
};
extern const std::vector<Exclusion> kExcluded;

} // namespace ven::sweeps
