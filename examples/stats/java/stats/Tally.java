package stats;

/** Running totals that the native code reads and writes field by field. */
final class Tally {
    final String name;
    int total;
    long count;
    double mean;
    String summary;

    Tally(String name) {
        this.name = name;
    }

    @Override
    public String toString() {
        return String.format("Tally{name=%s, total=%d, count=%d, mean=%.2f, summary=%s}",
                             name, total, count, mean, summary);
    }
}
