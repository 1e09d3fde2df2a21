package stats;

import java.io.FileDescriptor;
import java.io.FileOutputStream;
import java.io.PrintStream;
import java.nio.ByteBuffer;
import java.nio.charset.StandardCharsets;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.Objects;
import java.util.zip.CRC32;

/**
 * The stats application: calls each native of the stats module, prints what it
 * returns and compares it with what plain Java computes. Then one deliberate failure,
 * whose diagnostics the module's trace stream writes to stderr. With --all-failures
 * it also drives every other way the module rejects bad input; --library=<name> loads
 * another module with the same natives (venstats_c, the module written in C).
 * Exit status 0 when every answer matched.
 */
public final class Main {
    // The strings below are not ASCII: print UTF-8 whatever the locale says.
    private static final PrintStream out =
        new PrintStream(new FileOutputStream(FileDescriptor.out), true, StandardCharsets.UTF_8);
    private static int mismatches = 0;

    private Main() {}

    public static void main(String[] args) {
        final boolean allFailures = Arrays.asList(args).contains("--all-failures");
        String library = "venstats";
        for (String arg : args) {
            if (arg.startsWith("--library=")) {
                library = arg.substring("--library=".length());
            }
        }
        System.loadLibrary(library);

        describe();
        crc32();
        sumAndSummarize();
        final Tally tally = accumulate();

        out.println("deliberate failure: accumulate(tally, [2147483647]): the new total does not fit the int field,");
        out.println("so ven refuses to write it and traces the refusal to the module's trace stream (stderr):");
        final String before = tally.toString();
        expectRejected("accumulate", () -> Stats.accumulate(tally, new int[] {Integer.MAX_VALUE}),
                       IllegalArgumentException.class, "venSetIntField: VEN_KS_INT_TO_JINT_CONV_OK( value )");
        expect("tally unchanged", tally.toString(), before);

        if (allFailures) {
            otherFailures();
        }

        final boolean notable = Stats.shutdown();
        out.println("shutdown: done; the trace stream recorded a failure: " + (notable ? "yes" : "no"));
        expect("trace stream notable", notable, true);
        if (mismatches > 0) {
            out.println(mismatches + " MISMATCH(ES)");
            System.exit(1);
        }
    }

    private static void describe() {
        out.println("describe(String[]): characters are code points, a surrogate pair is one");
        final String[] words = {"hello", "naïve café", "a\uD83D\uDE00b", "\uD834\uDD1E clef", ""};
        final String[] lines = Stats.describe(words);
        final String[] expected = new String[words.length];
        for (int i = 0; i < words.length; ++i) {
            expected[i] = expectedDescription(words[i]);
        }
        for (String line : lines) {
            out.println("  " + line);
        }
        expect("lines", lines, expected);
    }

    static String expectedDescription(String word) {
        if (word == null) {
            return "null";
        }
        final int characters = word.codePointCount(0, word.length());
        return String.format("\"%s\": %d characters (%d UTF-16 units), %d outside the BMP, reversed \"%s\"",
                             word, characters, word.length(), word.length() - characters,
                             new StringBuilder(word).reverse());
    }

    private static void crc32() {
        out.println("crc32(byte[]): through the buffer bridges");
        for (String text : new String[] {"The quick brown fox jumps over the lazy dog", ""}) {
            final byte[] data = text.getBytes(StandardCharsets.UTF_8);
            final CRC32 java = new CRC32();
            java.update(data);
            final byte[] expected = ByteBuffer.allocate(4).putInt((int) java.getValue()).array();
            final byte[] digest = Stats.crc32(data);
            out.println("  crc32(\"" + text + "\") = " + hex(digest));
            expect("java.util.zip.CRC32 agrees", digest, expected);
        }
    }

    private static void sumAndSummarize() {
        out.println("sum(int[]): through the copy bridge");
        final int[] values = {3, -1, Integer.MAX_VALUE, Integer.MAX_VALUE};
        final long sum = Stats.sum(values);
        out.println("  sum(" + Arrays.toString(values) + ") = " + sum);
        expect("sum", sum, Arrays.stream(values).asLongStream().sum());

        out.println("summarize(int[]): an ArrayList of boxed values [min, max, mean, ascending]");
        final int[] series = {4, 8, 15, 16, 23, 42};
        final ArrayList<Object> summary = Stats.summarize(series);
        out.println("  summarize(" + Arrays.toString(series) + ") = " + summary);
        expect("summary", summary, List.of(4L, 42L, 108 / 6.0, true));
        final ArrayList<Object> unordered = Stats.summarize(new int[] {5, -7});
        expect("summarize([5, -7])", unordered, List.of(-7L, 5L, -1.0, false));
    }

    private static Tally accumulate() {
        out.println("accumulate(Tally, int[]): fields read and written");
        final Tally tally = new Tally("sensor");
        Stats.accumulate(tally, new int[] {12, 30, 7});
        out.println("  " + tally);
        expect("fields", Arrays.asList(tally.total, tally.count, tally.mean, tally.summary),
               Arrays.asList(49, 3L, 49 / 3.0, "sensor: 3 values, total 49"));
        Stats.accumulate(tally, new int[] {1, 2});
        out.println("  " + tally);
        expect("fields", Arrays.asList(tally.total, tally.count, tally.mean, tally.summary),
               Arrays.asList(52, 5L, 52 / 5.0, "sensor: 5 values, total 52"));
        return tally;
    }

    // Each rejection leaves a Java exception for the caller and one trace line on stderr.
    private static void otherFailures() {
        out.println("other rejections (--all-failures)");
        final String nullArray = "venGetArrayLength: array != NULL";
        expectRejected("describe(null)", () -> Stats.describe(null), IllegalArgumentException.class, nullArray);
        expectRejected("crc32(null)", () -> Stats.crc32(null), IllegalArgumentException.class, nullArray);
        expectRejected("sum(null)", () -> Stats.sum(null), IllegalArgumentException.class, nullArray);
        expectRejected("summarize(null)", () -> Stats.summarize(null), IllegalArgumentException.class, nullArray);
        expectRejected("summarize([])", () -> Stats.summarize(new int[0]), IllegalArgumentException.class,
                       "Stats.summarize: values.length > 0");
        expectRejected("accumulate(null, [1])", () -> Stats.accumulate(null, new int[] {1}),
                       IllegalArgumentException.class, "venGetIntField: obj != NULL");
        expectRejected("describe([\"ok\", lone high surrogate])", () -> Stats.describe(new String[] {"ok", "\uD800"}),
                       AssertionError.class, "venStringToKsString: Invalid UTF16 String.");
        final Tally empty = new Tally("empty");
        Stats.accumulate(empty, new int[0]);
        expect("accumulate(empty tally, [])", Arrays.asList(empty.total, empty.count, empty.mean, empty.summary),
               Arrays.asList(0, 0L, 0.0, "empty: 0 values, total 0"));
        final String[] withNull = {"x", null};
        expect("describe([\"x\", null])", Stats.describe(withNull),
               new String[] {expectedDescription("x"), expectedDescription(null)});
    }

    private static void expectRejected(String what, Runnable call, Class<? extends Throwable> type, String message) {
        try {
            call.run();
            out.println("  " + what + ": MISMATCH, returned instead of throwing " + type.getName());
            ++mismatches;
        } catch (Throwable thrown) {
            out.println("  " + what + " rejected: " + thrown);
            if (thrown.getClass() != type || !message.equals(thrown.getMessage())) {
                out.println("    MISMATCH, expected " + type.getName() + ": " + message);
                ++mismatches;
            }
        }
    }

    private static void expect(String what, Object got, Object expected) {
        if (!Objects.deepEquals(got, expected)) {
            out.println("  " + what + ": MISMATCH, got " + show(got) + ", expected " + show(expected));
            ++mismatches;
        }
    }

    private static String show(Object value) {
        if (value instanceof Object[]) {
            return Arrays.toString((Object[]) value);
        }
        if (value instanceof byte[]) {
            return hex((byte[]) value);
        }
        return String.valueOf(value);
    }

    private static String hex(byte[] bytes) {
        if (bytes == null) {
            return "null";
        }
        final StringBuilder text = new StringBuilder();
        for (byte b : bytes) {
            text.append(String.format("%02x", b & 0xff));
        }
        return text.toString();
    }
}
