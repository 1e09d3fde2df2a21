package fixtures;

/** A native method for registering and unregistering native code through the wrapper layer. */
public class WrapperNatives {
    public static native int answer();
}
