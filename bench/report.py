#!/usr/bin/env python3
"""Prints the table of a ven_bench run from its Google Benchmark JSON file.

One line per operation: raw, min and ven times (medians of the repetitions, ns)
and the ratios ven/min and ven/raw, then best and ven/best where the run has a best row;
a wrapper-layer row (wrap/<Op>) becomes its own line "ven___<Op>" against the op's raw and
min. Then the throughput of the rows that move bytes, the targets with their outcome, and
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

TO_NS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}
# Which of Google Benchmark's two times the table uses: "cpu_time" (the calling thread's
# CPU time: what the operation costs the thread, not stretched when another process takes
# the core) or "real_time" (wall clock; --real).
CLOCK = "cpu_time"


def load(path):
    """{(kind, op): {"ns": median real time, "bytes": per iteration, "error": text}} and
    the run's context; ops in registration order."""
    with open(path, encoding="utf-8") as f:
        data = json.load(f)
    medians, singles, order, errors = {}, {}, {}, {}
    for b in data.get("benchmarks", []):
        # Options that Google Benchmark appends to the name are not part of the op.
        run_name = "/".join(
            part for part in b.get("run_name", b["name"]).split("/")
            if part != "real_time" and not part.startswith("min_warmup_time:")
        )
        kind, _, op = run_name.partition("/")
        key = (kind, op)
        order.setdefault(op, b.get("family_index", len(order)))
        if b.get("error_occurred"):
            errors[key] = b.get("error_message", "error")
            continue
        entry = {
            "ns": b[CLOCK] * TO_NS[b.get("time_unit", "ns")],
            "bytes": b.get("bytes"),
        }
        if b.get("run_type") == "aggregate":
            if b.get("aggregate_name") == "median":
                medians[key] = entry
        else:
            singles.setdefault(key, entry)  # a run without repetitions
    rows = {key: singles[key] for key in singles}
    rows.update(medians)
    for key, message in errors.items():
        rows[key] = {"ns": None, "bytes": None, "error": message}
    ops = sorted(order, key=lambda op: order[op])
    return rows, ops, data.get("context", {})


def ns(rows, kind, op):
    row = rows.get((kind, op))
    return None if row is None else row["ns"]


def ratio(a, b):
    return None if a is None or b is None or b == 0 else a / b


def fmt_ns(value):
    if value is None:
        return "-"
    return f"{value:.1f}" if value < 1e4 else f"{value:,.0f}"


def fmt_ratio(value):
    return "-" if value is None else f"{value:.2f}"


def table_lines(rows, ops):
    """(op, raw, min, ven, best) for each line of the table, wrapper rows included."""
    lines = []
    for op in ops:
        raw, floor, best = ns(rows, "raw", op), ns(rows, "min", op), ns(rows, "best", op)
        if (("ven", op)) in rows:
            lines.append((op, raw, floor, ns(rows, "ven", op), best))
        if ("wrap", op) in rows:
            lines.append(("ven___" + op, raw, floor, ns(rows, "wrap", op), None))
        if ("ven", op) not in rows and ("wrap", op) not in rows:
            lines.append((op, raw, floor, None, best))
    return lines


def is_success_path(op):
    return not any(op.endswith(failure) for failure in FAILURE_PATHS)


def gbps(rows, kind, op):
    row = rows.get((kind, op))
    if row is None or row["ns"] is None or not row.get("bytes"):
        return None
    return row["bytes"] / row["ns"]


def targets(rows, lines):
    """[(met, text)] for every target the run can judge."""
    out = []
    misses = [
        (op, ratio(ven, floor))
        for op, _, floor, ven, _ in lines
        if is_success_path(op) and ratio(ven, floor) is not None and ratio(ven, floor) > MAX_VEN_PER_MIN
    ]
    judged = sum(1 for op, _, floor, ven, _ in lines if is_success_path(op) and ratio(ven, floor) is not None)
    text = f"ven/min <= {MAX_VEN_PER_MIN:.2f} on every success path ({judged} ops)"
    if misses:
        text += ": missed by " + ", ".join(f"{op} {r:.2f}" for op, r in misses)
    out.append((not misses, text))

    decode = "JCharsToChars/" + LARGE_BMP
    rate = gbps(rows, "ven", decode)
    if rate is not None:
        out.append((rate >= ROUTINE_MIN_GBPS, f"{decode}: {rate:.1f} GB/s of UTF-16 input (>= {ROUTINE_MIN_GBPS:.0f})"))
    r = ratio(ns(rows, "ven", decode), ns(rows, "raw", decode))
    if r is not None:
        out.append((r <= DECODE_MAX_VEN_PER_MEMCPY, f"{decode}: {r:.2f}x memcpy of the output (<= {DECODE_MAX_VEN_PER_MEMCPY})"))
    conversion = "StringToKsString/" + LARGE_BMP
    decode_ns, critical_ns = ns(rows, "ven", decode), ns(rows, "raw", "StringCritical/" + LARGE_BMP)
    if decode_ns is not None and critical_ns is not None:
        r = ratio(ns(rows, "ven", conversion), decode_ns + critical_ns)
        if r is not None:
            out.append((r <= CONVERSION_MAX_PER_FLOOR,
                        f"{conversion}: {r:.2f}x the decoding plus one critical pair (<= {CONVERSION_MAX_PER_FLOOR})"))
    encode = "CharsToJChars/" + LARGE_BMP
    rate = gbps(rows, "ven", encode)
    if rate is not None:
        out.append((rate >= ROUTINE_MIN_GBPS, f"{encode}: {rate:.1f} GB/s of UTF-16 output (>= {ROUTINE_MIN_GBPS:.0f})"))

    for routine, side in (("JCharsToChars", "input"), ("CharsToJChars", "output")):
        op = f"{routine}/{LARGE_SUPP}"
        rate = gbps(rows, "ven", op)
        if rate is not None:
            out.append((rate >= SURROGATE_MIN_GBPS,
                        f"{op}: {rate:.1f} GB/s of UTF-16 {side} (>= {SURROGATE_MIN_GBPS:.0f})"))

    for op in BRIDGES:
        r = ratio(ns(rows, "ven", op), ns(rows, "raw", op))
        if r is not None:
            best = ratio(ns(rows, "ven", op), ns(rows, "best", op))
            beside = f"; {best:.2f}x the best raw code" if best is not None else ""
            out.append((r <= MAX_BRIDGE_VEN_PER_RAW, f"{op}: ven/raw {r:.2f} (<= {MAX_BRIDGE_VEN_PER_RAW}){beside}"))
    return out


def worst_line(lines):
    worst = None
    for op, _, floor, ven, _ in lines:
        r = ratio(ven, floor)
        if is_success_path(op) and r is not None and (worst is None or r > worst[0]):
            worst = (r, op)
    return "worst ven/min: -" if worst is None else f"worst ven/min: {worst[0]:.2f} ({worst[1]})"


def context_line(context):
    parts = [
        context.get("cpu_model", ""),
        f"{context.get('num_cpus', '?')} cpus",
        f"load {', '.join(f'{x:.2f}' for x in context.get('load_avg', []))}",
        context.get("jdk", ""),
        context.get("date", ""),
    ]
    return "; ".join(p for p in parts if p)


def print_plain(rows, ops, context):
    lines = table_lines(rows, ops)
    print(f"ven benchmarks: {context_line(context)}")
    clock = "wall-clock" if CLOCK == "real_time" else "CPU time of the calling thread"
    print(f"times: medians of the repetitions, {clock}, ns per operation; raw of the UTF-16 routines is memcpy")
    header = ("op", "raw ns", "min ns", "ven ns", "ven/min", "ven/raw", "best ns", "ven/best")
    width = max(len(header[0]), *(len(line[0]) for line in lines))
    print(f"{header[0]:<{width}} " + " ".join(f"{h:>10}" for h in header[1:]))
    for op, raw, floor, ven, best in lines:
        cells = (fmt_ns(raw), fmt_ns(floor), fmt_ns(ven), fmt_ratio(ratio(ven, floor)), fmt_ratio(ratio(ven, raw)),
                 fmt_ns(best), fmt_ratio(ratio(ven, best)))
        print(f"{op:<{width}} " + " ".join(f"{c:>10}" for c in cells))
    for (kind, op), row in rows.items():
        if row.get("error"):
            print(f"error in {kind}/{op}: {row['error']}")
    rates = [(op, gbps(rows, "ven", op), gbps(rows, "raw", op)) for op in ops if gbps(rows, "ven", op) is not None]
    if rates:
        print("throughput, GB/s (bytes moved per ns; UTF-16 input for JCharsToChars, UTF-16 output for CharsToJChars):")
        for op, ven, raw in rates:
            print(f"  {op:<{width}} ven {ven:7.2f}   raw {raw:7.2f}" if raw else f"  {op:<{width}} ven {ven:7.2f}")
    print("targets:")
    for met, text in targets(rows, lines):
        print(f"  [{'met' if met else 'MISSED'}] {text}")
    print(worst_line(lines))


def print_markdown(rows, ops, context):
    lines = table_lines(rows, ops)
    print(f"Run: {context_line(context)}")
    print()
    print("| op | ven/min | ven/raw | ven/best | raw ns | min ns | ven ns | best ns |")
    print("|---|---:|---:|---:|---:|---:|---:|---:|")
    for op, raw, floor, ven, best in lines:
        print(f"| {op} | {fmt_ratio(ratio(ven, floor))} | {fmt_ratio(ratio(ven, raw))} | {fmt_ratio(ratio(ven, best))} "
              f"| {fmt_ns(raw)} | {fmt_ns(floor)} | {fmt_ns(ven)} | {fmt_ns(best)} |")
    print()
    for met, text in targets(rows, lines):
        print(f"- {'met' if met else '**missed**'}: {text}")
    print()
    print(worst_line(lines))


def main(argv):
    args = [a for a in argv[1:] if not a.startswith("--")]
    if len(args) != 1:
        print(__doc__, file=sys.stderr)
        return 2
    global CLOCK
    if "--real" in argv:
        CLOCK = "real_time"
    rows, ops, context = load(args[0])
    if not rows:
        print(f"{args[0]}: no benchmark results", file=sys.stderr)
        return 1
    (print_markdown if "--markdown" in argv else print_plain)(rows, ops, context)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
