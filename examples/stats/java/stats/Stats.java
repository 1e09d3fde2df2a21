package stats;

import java.util.ArrayList;

/** The natives of the stats module (libvenstats.so), registered by its JNI_OnLoad. */
final class Stats {
    private Stats() {}

    /** One line per string: characters (code points), UTF-16 units, characters outside
     *  the Basic Multilingual Plane, and the string reversed character by character. */
    static native String[] describe(String[] words);

    /** CRC-32 (the polynomial of java.util.zip.CRC32) of the bytes, big-endian, 4 bytes. */
    static native byte[] crc32(byte[] data);

    /** The sum of the values, without overflow. */
    static native long sum(int[] values);

    /** [Long min, Long max, Double mean, Boolean ascending] of at least one value. */
    static native ArrayList<Object> summarize(int[] values);

    /** Adds the values to the tally: total, count, mean and summary are rewritten, or
     *  nothing is when the new total does not fit the int field. */
    static native void accumulate(Tally tally, int[] values);

    /** Runs the module's shutdown; true when the module's trace stream recorded a failure.
     *  No native may be called afterwards. */
    static native boolean shutdown();
}
