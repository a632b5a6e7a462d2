#!/usr/bin/python3
"""Scores Vantrel's call edges against a judge's truth (standard library only).

usage: score.py WORK SUMMARY.json CORPUS...
         reads WORK/runs/CORPUS/judge.jsonl and WORK/runs/CORPUS/MODE.json for each mode
       score.py --selftest EXPECTED.txt JUDGE.jsonl...
         compares the judges' edges on the hand-made project with the hand-written list
"""
import collections
import json
import os
import sys

MODES = ("names", "precise")
FORMS = {
    "plain": "f()",
    "this": "this.m() / self.m()",
    "super_member": "super.m() / super().m()",
    "super_call": "super(...)",
    "new": "new C() / C()",
    "ident_recv": "x.m()",
    "chain": "a.b.m()",
    "call_recv": "f().m()",
    "namespace": "ns.f()",
    "other": "other",
}
# A judged call with these names also vouches for edges to the constructor it runs.
CONSTRUCTOR_FORMS = {"new", "super_call"}


def name_part(symbol_id):
    # relpath:name:kind, where only the path may hold ':'
    return symbol_id.rsplit(":", 2)[-2]


def load_records(path):
    with open(path, encoding="utf-8") as f:
        return [json.loads(line) for line in f if line.strip()]


def load_scan(path):
    with open(path, encoding="utf-8") as f:
        data = json.load(f)
    symbols = data["symbols"]
    if isinstance(symbols, list):
        symbols = {s["id"]: s for s in symbols}
    edges = {(a, b) for a, s in symbols.items() for b in s.get("refsOut", []) if b in symbols and a != b}
    return set(symbols), edges


def truth_of(records, symbols):
    """Truth edges with their call sites, the (caller, name) pairs the judge settled, and
    the judge's ids the scan lacks (a mapping fault on one side or the other)."""
    truth = collections.defaultdict(list)
    judged = collections.defaultdict(list)
    missing = collections.Counter()
    for r in records:
        caller = r["caller"]
        if caller not in symbols:
            missing[caller] += 1
            continue
        if r["status"] == "external":
            # Settled outside the corpus (a builtin, the standard library, a dependency):
            # an edge drawn for it to a project namesake is a wrong edge.
            judged[(caller, r["name"])].append(r)
            continue
        if r["status"] not in ("edge", "nosym"):
            continue
        names = {r["name"]} | {name_part(c) for c in r["callees"]}
        if r["form"] in CONSTRUCTOR_FORMS:
            names |= {"constructor", "__init__"}
        for name in names:
            judged[(caller, name)].append(r)
        for callee in r["callees"]:
            if callee not in symbols:
                missing[callee] += 1
            elif callee != caller:
                truth[(caller, callee)].append(r)
    return truth, judged, missing


def score(records, scan_path):
    symbols, vantrel = load_scan(scan_path)
    truth, judged_calls, missing = truth_of(records, symbols)
    judged = {e for e in vantrel if (e[0], name_part(e[1])) in judged_calls}
    # Calls the judge placed outside the corpus count in precision (see truth_of); this
    # counts the edges drawn for such calls alone, for the report.
    statuses = collections.defaultdict(set)
    for r in records:
        statuses[(r["caller"], r["name"])].add(r["status"])
    hits = vantrel & set(truth)
    wrong = judged - set(truth)
    wrong_external = sum(1 for a, b in wrong if statuses.get((a, name_part(b))) == {"external"})

    by_form = collections.defaultdict(lambda: [0, 0])  # form -> [truth edges, missed]
    for edge, sites in truth.items():
        form = collections.Counter(r["form"] for r in sites).most_common(1)[0][0]
        by_form[form][0] += 1
        if edge not in vantrel:
            by_form[form][1] += 1

    # Python `C()` drawn to the class where the judge names the __init__ that runs: a
    # convention apart from the other wrong edges, so counted on its own.
    class_for_init = sum(
        1 for a, b in wrong
        if b.endswith(":class") and any(r["form"] == "new" and r["callees"] for r in judged_calls[(a, name_part(b))]))

    # The callees that draw the most wrong edges first, one example each.
    per_callee = collections.Counter(b for _, b in wrong)
    examples, seen = [], set()
    for a, b in sorted(wrong, key=lambda e: (-per_callee[e[1]], e)):
        if b in seen:
            continue
        seen.add(b)
        sites = [r for r in judged_calls[(a, name_part(b))]]
        site = sites[0]
        said = ", ".join(site["callees"]) or f"{site['status']} {site['target']}".strip()
        examples.append({"caller": a, "callee": b, "at": f"{site['file']}:{site['line']}", "judge": said,
                         "edges_to_callee": per_callee[b]})
        if len(examples) == 5:
            break

    pct = lambda n, d: round(100.0 * n / d, 1) if d else None
    return {
        "symbols": len(symbols),
        "truth_edges": len(truth),
        "vantrel_edges": len(vantrel),
        "judged_vantrel_edges": len(judged),
        "left_out_of_precision": len(vantrel) - len(judged),
        "wrong_for_external_calls": wrong_external,
        "correct": len(hits),
        "precision": pct(len(hits), len(judged)),
        "recall": pct(len(hits), len(truth)),
        "wrong": len(wrong),
        "wrong_class_for_init": class_for_init,
        "misses_by_form": {f: {"truth": t, "missed": m} for f, (t, m) in sorted(by_form.items(), key=lambda x: -x[1][1])},
        "wrong_examples": examples,
        "judge_ids_not_in_scan": sum(missing.values()),
        "judge_ids_not_in_scan_examples": [i for i, _ in missing.most_common(5)],
    }


def show(corpus, mode, s):
    fmt = lambda v: "n/a" if v is None else f"{v:.1f}%"
    print(f"  {mode:8} truth {s['truth_edges']:5}  vantrel {s['vantrel_edges']:5}  judged {s['judged_vantrel_edges']:5}"
          f" (left out {s['left_out_of_precision']}; wrong for external calls {s['wrong_for_external_calls']})  precision {fmt(s['precision'])}  recall {fmt(s['recall'])}")
    misses = ", ".join(f"{FORMS[f]} {v['missed']}/{v['truth']}" for f, v in s["misses_by_form"].items() if v["missed"])
    print(f"           misses by call form (missed/truth): {misses or 'none'}")
    if s["wrong_class_for_init"]:
        print(f"           wrong edges: {s['wrong']}, of which {s['wrong_class_for_init']} name a class whose"
              f" __init__ the judge names")
    for ex in s["wrong_examples"]:
        print(f"           wrong: {ex['caller']} -> {ex['callee']}  at {ex['at']}  (judge: {ex['judge']};"
              f" {ex['edges_to_callee']} wrong edges to it)")
    if s["judge_ids_not_in_scan"]:
        print(f"           note: {s['judge_ids_not_in_scan']} judge ids not among the scan's symbols,"
              f" e.g. {', '.join(s['judge_ids_not_in_scan_examples'][:3])}")


def run(work, summary_path, corpora):
    summary = {"corpora": {}}
    for corpus in corpora:
        folder = os.path.join(work, "runs", corpus)
        records = load_records(os.path.join(folder, "judge.jsonl"))
        statuses = collections.Counter(r["status"] for r in records)
        entry = {"judge_calls": len(records), "judge_status": dict(statuses), "modes": {}}
        meta_path = os.path.join(folder, "meta.json")
        if os.path.exists(meta_path):
            with open(meta_path, encoding="utf-8") as f:
                entry["corpus"] = json.load(f)
            m = entry["corpus"]
            print(f"{corpus} ({m['package']} {m['version']}, {m['files']} files)")
        print(f"  {len(records)} calls with a caller; judge: "
              + ", ".join(f"{k} {v}" for k, v in statuses.most_common()))
        for mode in MODES:
            scan = os.path.join(folder, f"{mode}.json")
            if not os.path.exists(scan):
                print(f"  {mode:8} not available")
                continue
            entry["modes"][mode] = score(records, scan)
            show(corpus, mode, entry["modes"][mode])
        summary["corpora"][corpus] = entry
    with open(summary_path, "w", encoding="utf-8") as f:
        json.dump(summary, f, indent=1, sort_keys=True)
    print(f"summary: {summary_path}")


def selftest(expected_path, judge_paths):
    expected = set()
    with open(expected_path, encoding="utf-8") as f:
        for line in f:
            line = line.split("#", 1)[0].strip()
            if line:
                a, b = (p.strip() for p in line.split("->"))
                expected.add((a, b))
    got = set()
    for path in judge_paths:
        for r in load_records(path):
            if r["status"] == "edge":
                got |= {(r["caller"], c) for c in r["callees"] if c != r["caller"]}
    for a, b in sorted(expected - got):
        print(f"  missing: {a} -> {b}")
    for a, b in sorted(got - expected):
        print(f"  unexpected: {a} -> {b}")
    passed = len(expected & got)
    failed = len(expected - got) + len(got - expected)
    print(f"selftest: {passed} passed, {failed} failed")
    return failed == 0


def main():
    args = sys.argv[1:]
    if len(args) >= 2 and args[0] == "--selftest":
        sys.exit(0 if selftest(args[1], args[2:]) else 1)
    if len(args) < 3:
        sys.exit(__doc__)
    run(args[0], args[1], args[2:])


if __name__ == "__main__":
    main()
