// The sweep suite's rows: one Case per integration and class support function, built from
// the library's own X-macro tables, and the Java objects every case works on.
#pragma once

#include <cstddef>
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

std::vector<Case> allCases();

// Exported ven[A-Z]* functions that the sweeps do not call, and why.
struct Exclusion {
    const char* why;
    std::vector<const char*> names;
};
extern const std::vector<Exclusion> kExcluded;

} // namespace ven::sweeps
