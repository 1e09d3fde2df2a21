// Counts the JNI local references a thread holds, as the JVM itself sees them: the roots of
// kind JNI_LOCAL that JVMTI's heap walk reports for that thread. No JNI function tells this,
// and it is what shows a reference that outlived the frame it was made in.
#include <jvmti.h>

#include <atomic>

#include "support/ven_test.hpp"

namespace ven::test
{
namespace
{

jvmtiEnv* heapWalker()
{
    static jvmtiEnv* const walker = [] {
        jvmtiEnv* env = nullptr;
        if (jvm()->GetEnv(reinterpret_cast<void**>(&env), JVMTI_VERSION_1_2) != JNI_OK) {
            return static_cast<jvmtiEnv*>(nullptr);
        }
        jvmtiCapabilities capabilities{};
        capabilities.can_tag_objects = 1; // FollowReferences needs it
        return env->AddCapabilities(&capabilities) == JVMTI_ERROR_NONE ? env : nullptr;
    }();
    return walker;
}

// The calling thread's tag, set on first use, which the walk reports with each local root.
jlong currentThreadTag(jvmtiEnv* walker, JNIEnv* env)
{
    static std::atomic<jlong> lastTag{0};
    thread_local const jlong tag = [&] {
        jthread thread = nullptr;
        const jlong value = ++lastTag;
        const bool tagged = walker->GetCurrentThread(&thread) == JVMTI_ERROR_NONE &&
                            walker->SetTag(thread, value) == JVMTI_ERROR_NONE;
        env->DeleteLocalRef(thread);
        return tagged ? value : -1;
    }();
    return tag;
}

struct Count {
    jlong threadTag;
    int references;
};

// Roots only: no object is visited, so the walk costs the root scan and nothing more.
jint JNICALL countRoot(jvmtiHeapReferenceKind kind, const jvmtiHeapReferenceInfo* info, jlong, jlong, jlong,
                       jlong*, jlong*, jint, void* userData)
{
    auto* count = static_cast<Count*>(userData);
    if (kind == JVMTI_HEAP_REFERENCE_JNI_LOCAL && info->jni_local.thread_tag == count->threadTag) {
        ++count->references;
    }
    return 0;
}

} // namespace

int localReferenceCount(JNIEnv* env)
{
    jvmtiEnv* walker = heapWalker();
    Count count{walker != nullptr ? currentThreadTag(walker, env) : -1, 0};
    jvmtiHeapCallbacks callbacks{};
    callbacks.heap_reference_callback = &countRoot;
    if (count.threadTag < 0 ||
        walker->FollowReferences(0, nullptr, nullptr, &callbacks, &count) != JVMTI_ERROR_NONE) {
        ADD_FAILURE() << "the JVM's heap walk cannot count local references";
        return -1;
    }
    return count.references;
}

} // namespace ven::test
