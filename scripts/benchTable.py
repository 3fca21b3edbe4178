#!/usr/bin/env python3
"""Turns the JSON of rkDraggerBench (Google Benchmark) into the Markdown table
of docs/performance.md: medians of the library's draggers, of the stock
osgManipulator draggers measured in the same run, their ratio and the goal.

Usage: benchTable.py RESULTS.json
"""
import json
import sys

TO_MICROSECONDS = {"ns": 1e-3, "us": 1.0, "ms": 1e3, "s": 1e6}

# (what is measured, library benchmark, stock benchmark or None, goal or None).
# Goals: ("ratio", x) library / stock <= x; ("extra_us", x) library - stock
# <= x microseconds, for the follow: its own cost per dragger beyond the event
# traversal that a stock dragger costs in a scene of the same size.
ROWS = [
    ("Press + release, frame X arrow", "BM_PressRelease_FrameXArrow",
     "BM_PressRelease_StockTranslateArrow", ("ratio", 1.0)),
    ("Press + release, frame Z ring", "BM_PressRelease_FrameZRing",
     "BM_PressRelease_StockTranslateArrow", ("ratio", 1.0)),
    ("Press + release, frame Z ring vs trackball ring", "BM_PressRelease_FrameZRing",
     "BM_PressRelease_StockTrackballRing", None),
    ("Drag step, frame live (receiver + signal)", "BM_DragStep_FrameLive",
     "BM_DragStep_StockTranslate", ("ratio", 1.5)),
    ("Drag step, frame deferred (command value)", "BM_DragStep_FrameDeferred",
     "BM_DragStep_StockTranslate", None),
    ("Drag step, whole loop (plug-in 261 + dialog)", "BM_DragStep_FramePluginDialog",
     "BM_DragStep_StockTranslate", None),
]
for count in (1, 100, 10000):
    ROWS.append((f"Follow per dragger, {count} draggers, receiver unchanged",
                 f"BM_Follow_FrameUnchanged/{count}",
                 f"BM_Follow_StockTranslateFrameEvent/{count}", ("extra_us", 0.3)))
for count in (1, 100, 10000):
    ROWS.append((f"Follow per dragger, {count} draggers, receiver changed",
                 f"BM_Follow_FrameChanged/{count}",
                 f"BM_Follow_StockTranslateFrameEvent/{count}", None))
for kdtree in (0, 1):
    for triangles in (10000, 100000, 1000000):
        args = f"triangles:{triangles}/kdtree:{kdtree}"
        ROWS.append((f"Press + release, X arrow, {triangles:,} scene triangles, "
                     f"{'with' if kdtree else 'no'} KdTrees",
                     f"BM_PressScene_FrameXArrow/{args}",
                     f"BM_PressScene_StockTranslateArrow/{args}", None))
# The handling aids (pick tolerance 8 px, hover on).
HOVER = "BM_HoverMove_FrameXArrow/draggers:{}/hover:{}/elsewhere:{}"
ROWS.append(("Hover move, 1 gizmo, vs stock arrow press + release", HOVER.format(1, 1, 0),
             "BM_PressRelease_StockTranslateArrow", ("ratio", 1.0)))
ROWS.append(("Hover move, 100 gizmos around the hovered one vs 1 gizmo", HOVER.format(100, 1, 0),
             HOVER.format(1, 1, 0), ("ratio", 2.0)))
ROWS.append(("Hover move, 100 gizmos (99 small and elsewhere) vs 1 gizmo",
             HOVER.format(100, 1, 1), HOVER.format(1, 1, 0), ("ratio", 2.0)))
ROWS.append(("Pointer move without hover, 100 gizmos vs 1 gizmo", HOVER.format(100, 0, 0),
             HOVER.format(1, 0, 0), None))
RESTING = "BM_HoverRestingFrame_FrameXArrow/draggers:{}/cameraMoves:{}"
for moves in (0, 1):
    ROWS.append((f"Hover, frame under a resting pointer, camera {'moving' if moves else 'still'}, "
                 "100 gizmos vs 1", RESTING.format(100, moves), RESTING.format(1, moves), None))
ROWS.append(("Press + release beside the X arrow (tolerance) vs on it",
             "BM_PressRelease_FrameXArrowBeside", "BM_PressRelease_FrameXArrow",
             ("ratio", 1.2)))
ROWS.append(("setupDefaultGeometry, first frame dragger vs stock translate + trackball",
             "BM_SetupDefaultGeometry_Frame",
             "BM_SetupDefaultGeometry_StockTranslateAndTrackball", None))
ROWS.append(("setupDefaultGeometry, later frame dragger (same sizes) vs stock",
             "BM_SetupDefaultGeometry_FrameLater",
             "BM_SetupDefaultGeometry_StockTranslateAndTrackball", ("ratio", 2.0)))
for triangles in (0, 100000):
    for count in (1, 10, 100):
        args = f"draggers:{count}/triangles:{triangles}"
        ROWS.append((f"Press + release, X arrow of the last of {count} draggers, "
                     f"{triangles:,} other triangles",
                     f"BM_PressCrowd_FrameXArrow/{args}",
                     f"BM_PressCrowd_StockTranslateArrow/{args}", None))
    ROWS.append((f"Press + release, 100 vs 1 frame draggers, {triangles:,} other triangles",
                 f"BM_PressCrowd_FrameXArrow/draggers:100/triangles:{triangles}",
                 f"BM_PressCrowd_FrameXArrow/draggers:1/triangles:{triangles}", ("ratio", 2.0)))
for handle in ("PlaneXY", "ScreenHandle", "ViewRing"):
    ROWS.append((f"Press + release, optional handle {handle}", f"BM_PressRelease_Frame{handle}",
                 "BM_PressRelease_StockTranslateArrow", ("ratio", 1.0)))
ROWS.append(("Drag step, XY plane handle vs frame X arrow", "BM_DragStep_FramePlaneXY",
             "BM_DragStep_FrameLive", ("ratio", 1.2)))


def medians(results):
    """Median CPU time in microseconds per benchmark name (per dragger for
    the follow benchmarks). Without repetitions, the single run counts."""
    found = {}
    singles = {}
    for entry in results["benchmarks"]:
        if entry.get("error_occurred"):
            continue
        name = entry.get("run_name", entry["name"])
        scale = TO_MICROSECONDS[entry.get("time_unit", "ns")]
        value = entry["cpu_time"] * scale
        if name.startswith("BM_Follow_"):
            value /= int(name.rsplit("/", 1)[1])
        if entry.get("run_type") == "aggregate":
            if entry.get("aggregate_name") == "median":
                found[name] = value
        else:
            singles.setdefault(name, value)
    for name, value in singles.items():
        found.setdefault(name, value)
    return found


def format_us(value):
    if value is None:
        return "n/a"
    if value >= 100:
        return f"{value:,.0f}"
    if value >= 10:
        return f"{value:.1f}"
    return f"{value:.3g}"


def goal_text(goal, value, stock):
    if goal is None:
        return ""
    kind, limit = goal
    if stock is None:
        return "n/a"
    if kind == "ratio":
        measured, text = value / stock, f"ratio ≤ {limit}"
    else:
        measured = value - stock
        text = f"follow's own cost {measured:.3f} µs ≤ {limit}"
    return f"{text}: {'met' if measured <= limit else 'MISSED'}"


def table(found):
    lines = [
        "| Measurement | rkDragger median (µs) | Stock median (µs) | Ratio | Goal |",
        "|---|---:|---:|---:|---|",
    ]
    for label, name, reference, goal in ROWS:
        if name not in found:
            continue
        value = found[name]
        stock = found.get(reference) if reference else None
        ratio = value / stock if stock else None
        ratio_text = f"{ratio:.2f}" if ratio is not None else ""
        lines.append(f"| {label} | {format_us(value)} | {format_us(stock)} | {ratio_text} | "
                     f"{goal_text(goal, value, stock)} |")
    return "\n".join(lines)


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    with open(sys.argv[1], encoding="utf-8") as results_file:
        results = json.load(results_file)
    print(table(medians(results)))


if __name__ == "__main__":
    main()
