#!/usr/bin/env python3
"""Prints the table of a ven_bench run from its Google Benchmark JSON file.

One line per operation: raw, min and ven times (medians over the rounds, ns), the ratios
ven/min (with the middle half of the rounds' ratios) and ven/raw, then best and ven/best where
the op has a best row; an op's wrapper-layer row (wrap) becomes its own line "ven___<Op>"
against the op's raw and min. Ratios are medians of the ratios within each round, in which
every row of the op ran once. Then the throughput of the rows that move bytes, the targets with their outcome, and
as the very last line "worst ven/min: <ratio> (<op>)" over every success path.

    report.py results.json             plain table (make bench prints this)
    report.py --markdown results.json  the same with ratios first, as Markdown
    report.py --real results.json      wall-clock times instead of the thread's CPU time
"""
import json
import sys

# Success-path targets: ven/min at most this for every wrapper and integration operation.
MAX_VEN_PER_MIN = 1.10
# Operations that take a failure path on purpose: measured, but no success-path target.
FAILURE_PATHS = ("CallIntMethod/throws/traced",)
# Bridges: ven/raw at most this against the best hand-written code making the same JNI calls.
BRIDGES = (
    "NewStringArrayFromKsVector/1000",
    "NewByteArrayFromBuffer/1000000",
    "NewDoubleArrayOf/1000000",
    "GetByteArrayRegionAsBuffer/1000000",
    "GetPrimitiveArrayAsKsBuffer/1000000",
    "CopyIntArrayElements/1000000",
    "CopyDoubleArrayElements/1000000",
)
MAX_BRIDGE_VEN_PER_RAW = 1.10
# The UTF-16 routines on 1,000,000 BMP units: GB/s of UTF-16 (input when decoding, output
# when encoding), ven/raw against memcpy of the output, and the string conversion against
# the decoding plus one critical pair.
ROUTINE_MIN_GBPS = 12.0
DECODE_MAX_VEN_PER_MEMCPY = 1.5
CONVERSION_MAX_PER_FLOOR = 1.3
LARGE_BMP = "bmp/1000000"
# Both routines on 1,000,000 units of text with a supplementary character every few units.
SURROGATE_MIN_GBPS = 8.0
LARGE_SUPP = "supp/1000000"

# Which clock the table uses: the calling thread's CPU time (what the operation costs the
# thread, not stretched when another process takes the core) or the wall clock (--real).
WALL = False


def load(path):
    """{op: {"counters": {...}} or {"error": text}} in the run's order, and its context."""
    with open(path, encoding="utf-8") as f:
        data = json.load(f)
    ops, order = {}, {}
    for b in data.get("benchmarks", []):
        op = b.get("run_name", b["name"])
        # One run per op, or with --benchmark_repetitions their median.
        if b.get("run_type") == "aggregate" and b.get("aggregate_name") != "median":
            continue
        if b.get("run_type") != "aggregate" and op in ops:
            continue
        order.setdefault(op, b.get("family_index", len(order)))
        if b.get("error_occurred"):
            ops[op] = {"error": b.get("error_message", "error")}
        else:
            ops[op] = {"counters": {k: v for k, v in b.items() if isinstance(v, (int, float))}}
    return {op: ops[op] for op in sorted(ops, key=lambda op: order[op])}, data.get("context", {})


def counter(ops, op, name):
    return ops.get(op, {}).get("counters", {}).get(name)


def ns(ops, kind, op):
    """Median time per iteration of a row, ns."""
    return counter(ops, op, f"{kind}.wall_ns" if WALL else f"{kind}.ns")


def paired(ops, subject, reference, op):
    """Median over the rounds of subject/reference, both measured in each round."""
    return counter(ops, op, f"{subject}/{reference}" + (".wall" if WALL else ""))


def spread(ops, subject, reference, op):
    """The middle half of the rounds' ratios (CPU time)."""
    q1, q3 = counter(ops, op, f"{subject}/{reference}.q1"), counter(ops, op, f"{subject}/{reference}.q3")
    return None if q1 is None or q3 is None else (q1, q3)


def ratio(a, b):
    return None if a is None or b is None or b == 0 else a / b


def fmt_ns(value):
    if value is None:
        return "-"
    return f"{value:.1f}" if value < 1e4 else f"{value:,.0f}"


def fmt_ratio(value):
    return "-" if value is None else f"{value:.2f}"


def fmt_spread(value):
    return "-" if value is None else f"{value[0]:.2f}-{value[1]:.2f}"


def table_lines(ops):
    """(label, op, subject) for each line of the table: an op's library row (ven), its
    wrapper-layer row (wrap, labelled ven___<Op>), or an op that only has references."""
    lines = []
    for op in ops:
        kinds = [kind for kind in ("ven", "wrap") if ns(ops, kind, op) is not None]
        for kind in kinds:
            lines.append(("ven___" + op if kind == "wrap" else op, op, kind))
        if not kinds:
            lines.append((op, op, None))
    return lines


def is_success_path(op):
    return not any(op.endswith(failure) for failure in FAILURE_PATHS)


def gbps(ops, kind, op):
    bytes_, time = counter(ops, op, f"{kind}.bytes"), ns(ops, kind, op)
    return None if not bytes_ or not time else bytes_ / time


def success_ratios(ops, lines):
    """(label, subject/min) for every success path the run measured against its floor."""
    return [
        (label, paired(ops, subject, "min", op))
        for label, op, subject in lines
        if subject is not None and is_success_path(op) and paired(ops, subject, "min", op) is not None
    ]


def targets(ops, lines):
    """[(met, text)] for every target the run can judge."""
    out = []
    judged = success_ratios(ops, lines)
    misses = [(label, r) for label, r in judged if r > MAX_VEN_PER_MIN]
    text = f"ven/min <= {MAX_VEN_PER_MIN:.2f} on every success path ({len(judged)} ops)"
    if misses:
        text += ": missed by " + ", ".join(f"{label} {r:.2f}" for label, r in misses)
    out.append((not misses, text))

    decode = "JCharsToChars/" + LARGE_BMP
    rate = gbps(ops, "ven", decode)
    if rate is not None:
        out.append((rate >= ROUTINE_MIN_GBPS, f"{decode}: {rate:.1f} GB/s of UTF-16 input (>= {ROUTINE_MIN_GBPS:.0f})"))
    r = paired(ops, "ven", "raw", decode)
    if r is not None:
        out.append((r <= DECODE_MAX_VEN_PER_MEMCPY, f"{decode}: {r:.2f}x memcpy of the output (<= {DECODE_MAX_VEN_PER_MEMCPY})"))
    # Three ops: their medians, not a ratio within rounds.
    conversion = "StringToKsString/" + LARGE_BMP
    decode_ns, critical_ns = ns(ops, "ven", decode), ns(ops, "raw", "StringCritical/" + LARGE_BMP)
    if decode_ns is not None and critical_ns is not None:
        r = ratio(ns(ops, "ven", conversion), decode_ns + critical_ns)
        if r is not None:
            out.append((r <= CONVERSION_MAX_PER_FLOOR,
                        f"{conversion}: {r:.2f}x the decoding plus one critical pair (<= {CONVERSION_MAX_PER_FLOOR})"))
    encode = "CharsToJChars/" + LARGE_BMP
    rate = gbps(ops, "ven", encode)
    if rate is not None:
        out.append((rate >= ROUTINE_MIN_GBPS, f"{encode}: {rate:.1f} GB/s of UTF-16 output (>= {ROUTINE_MIN_GBPS:.0f})"))

    for routine, side in (("JCharsToChars", "input"), ("CharsToJChars", "output")):
        op = f"{routine}/{LARGE_SUPP}"
        rate = gbps(ops, "ven", op)
        if rate is not None:
            out.append((rate >= SURROGATE_MIN_GBPS,
                        f"{op}: {rate:.1f} GB/s of UTF-16 {side} (>= {SURROGATE_MIN_GBPS:.0f})"))

    for op in BRIDGES:
        r = paired(ops, "ven", "raw", op)
        if r is not None:
            best = paired(ops, "ven", "best", op)
            beside = f"; {best:.2f}x the best raw code" if best is not None else ""
            out.append((r <= MAX_BRIDGE_VEN_PER_RAW, f"{op}: ven/raw {r:.2f} (<= {MAX_BRIDGE_VEN_PER_RAW}){beside}"))
    return out


def worst_line(ops, lines):
    judged = success_ratios(ops, lines)
    if not judged:
        return "worst ven/min: -"
    label, r = max(judged, key=lambda item: item[1])
    return f"worst ven/min: {r:.2f} ({label})"


def context_line(context):
    parts = [
        context.get("cpu_model", ""),
        f"{context.get('num_cpus', '?')} cpus",
        f"load {', '.join(f'{x:.2f}' for x in context.get('load_avg', []))}",
        context.get("jdk", ""),
        context.get("date", ""),
    ]
    return "; ".join(p for p in parts if p)


def cells(ops, op, subject):
    """The table's cells for one line: ratios (median within rounds), spread, times."""
    def rel(reference):
        return None if subject is None else paired(ops, subject, reference, op)
    return {
        "raw": fmt_ns(ns(ops, "raw", op)), "min": fmt_ns(ns(ops, "min", op)),
        "ven": fmt_ns(None if subject is None else ns(ops, subject, op)), "best": fmt_ns(ns(ops, "best", op)),
        "ven/min": fmt_ratio(rel("min")), "ven/raw": fmt_ratio(rel("raw")), "ven/best": fmt_ratio(rel("best")),
        "spread": fmt_spread(None if subject is None else spread(ops, subject, "min", op)),
    }


def print_plain(ops, context):
    lines = table_lines(ops)
    print(f"ven benchmarks: {context_line(context)}")
    clock = "wall-clock" if WALL else "CPU time of the calling thread"
    print(f"times: medians over the rounds, {clock}, ns per operation; ratios: medians of the ratios within"
          " each round,\n  with the middle half of the rounds' ven/min (spread); raw of the UTF-16 routines is memcpy")
    header = ("raw ns", "min ns", "ven ns", "ven/min", "spread", "ven/raw", "best ns", "ven/best")
    keys = ("raw", "min", "ven", "ven/min", "spread", "ven/raw", "best", "ven/best")
    width = max(2, *(len(label) for label, _, _ in lines))
    print(f"{'op':<{width}} " + " ".join(f"{h:>10}" for h in header))
    for label, op, subject in lines:
        row = cells(ops, op, subject)
        print(f"{label:<{width}} " + " ".join(f"{row[k]:>10}" for k in keys))
    for op, entry in ops.items():
        if "error" in entry:
            print(f"error in {op}: {entry['error']}")
    rates = [(op, gbps(ops, "ven", op), gbps(ops, "raw", op)) for op in ops if gbps(ops, "ven", op) is not None]
    if rates:
        print("throughput, GB/s (bytes moved per ns; UTF-16 input for JCharsToChars, UTF-16 output for CharsToJChars):")
        for op, ven, raw in rates:
            print(f"  {op:<{width}} ven {ven:7.2f}   raw {raw:7.2f}" if raw else f"  {op:<{width}} ven {ven:7.2f}")
    print("targets:")
    for met, text in targets(ops, lines):
        print(f"  [{'met' if met else 'MISSED'}] {text}")
    print(worst_line(ops, lines))


def print_markdown(ops, context):
    lines = table_lines(ops)
    print(f"Run: {context_line(context)}")
    print()
    print("| op | ven/min | spread | ven/raw | ven/best | raw ns | min ns | ven ns | best ns |")
    print("|---|---:|---:|---:|---:|---:|---:|---:|---:|")
    for label, op, subject in lines:
        row = cells(ops, op, subject)
        print(f"| {label} | " + " | ".join(row[k] for k in ("ven/min", "spread", "ven/raw", "ven/best", "raw", "min", "ven", "best")) + " |")
    print()
    for met, text in targets(ops, lines):
        print(f"- {'met' if met else '**missed**'}: {text}")
    print()
    print(worst_line(ops, lines))


def main(argv):
    args = [a for a in argv[1:] if not a.startswith("--")]
    if len(args) != 1:
        print(__doc__, file=sys.stderr)
        return 2
    global WALL
    WALL = "--real" in argv
    ops, context = load(args[0])
    if not ops:
        print(f"{args[0]}: no benchmark results", file=sys.stderr)
        return 1
    (print_markdown if "--markdown" in argv else print_plain)(ops, context)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
