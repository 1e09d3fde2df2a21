package venbench;

/**
 * What the benchmarks read, write and call: an int field of each kind, a virtual and a static
 * method with one int argument, a method that always throws an unchecked exception, and a
 * short text as a field, as a method's result and as the object's toString().
 */
public final class Target {
    public int intField = 7;
    public static int staticIntField = 11;
    public String textField = "sixteen chars 16";

    /** Thrown by {@link #fail}: made once, so that the failure rows time the trace, not the JVM's stack walk. */
    private static final IllegalStateException FAILURE = new IllegalStateException("bench failure");

    public int plus(int value) {
        return intField + value;
    }

    public static int twice(int value) {
        return value * 2;
    }

    public int fail(int value) {
        throw FAILURE;
    }

    public String text() {
        return textField;
    }

    @Override
    public String toString() {
        return textField;
    }
}
