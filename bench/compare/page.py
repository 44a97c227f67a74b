#!/usr/bin/env python3
"""Makes a page with charts of one run of scripts/bench.sh: page.py BENCH_JSON [HOME] >PAGE

The page holds everything that it shows: it loads nothing and needs no script. HOME is the target of its
link back to the documentation. docs/benchmarks.md explains how to read the page. With --summary before
BENCH_JSON, makes a drawing instead, with one row for each task and each other library.
"""
import json
import math
import sys
from html import escape

WIDTH, TOP = 380, 24  # width of a chart, height of what is above its rows; the page scales it
TIMES = 116  # width of the column with the times
LABEL, LINE = 20, 15  # height of the name of a case and of each build's line below it
LEVELS = ("baseline", "best")
# If other work takes a larger share of the processors, the figures cannot be trusted.
QUIET = 0.2

STYLE = """
:root { color-scheme: light dark; --text: #1b2733; --soft: #51606e; --line: #c9d3dc; --page: #fff;
        --card: #f6f8fa; --baseline: #1f6fb5; --best: #b3540a; --one: #1b2733; --slow: #fbeeee;
        --missed: #b3261e; }
@media (prefers-color-scheme: dark) {
  :root { --text: #e4ebf1; --soft: #a3b1bd; --line: #3c4853; --page: #16191c; --card: #1e2327;
          --baseline: #69b3f2; --best: #f0a056; --one: #e4ebf1; --slow: #2c2022; --missed: #ff8f86; }
}
body { font: 16px/1.5 system-ui, sans-serif; color: var(--text); background: var(--page);
       max-width: 76rem; margin: 0 auto; padding: 1rem; }
h1 { font-size: 1.6rem; line-height: 1.2; margin: 0.5rem 0 1rem; }
h2 { font-size: 1.25rem; margin: 2.5rem 0 0.5rem; border-bottom: 1px solid var(--line); }
h3 { font-size: 1rem; margin: 0 0 0.25rem; }
a { color: var(--baseline); }
dl { display: grid; grid-template-columns: max-content 1fr; gap: 0.1rem 1rem; margin: 0 0 1rem; }
dt { color: var(--soft); } dd { margin: 0; overflow-wrap: anywhere; }
nav { display: flex; flex-wrap: wrap; gap: 0.2rem 1rem; }
.key { display: flex; flex-wrap: wrap; gap: 0.2rem 1.2rem; align-items: center; color: var(--soft); }
.key svg { width: 1.8em; height: 1em; vertical-align: -0.1em; }
.warning { border-left: 4px solid var(--missed); background: var(--card); padding: 0.5rem 1rem; }
.charts { display: grid; grid-template-columns: repeat(auto-fill, minmax(min(100%, 20rem), 1fr));
          gap: 1rem; margin: 1rem 0; }
figure { margin: 0; padding: 0.75rem; background: var(--card); border-radius: 8px; }
figure svg { display: block; width: 100%; height: auto; }
svg text { font: 12px system-ui, sans-serif; fill: var(--soft); }
.grid { stroke: var(--line); stroke-width: 1; }
.one { stroke: var(--one); stroke-width: 1.5; }
.slow { fill: var(--slow); }
.case { fill: var(--text); }
.limit { fill-opacity: 0.25; stroke-width: 1; }
.bound { stroke: var(--one); stroke-width: 1.5; stroke-dasharray: 4 3; }
.baseline { stroke: var(--baseline); fill: var(--baseline); }
.best { stroke: var(--best); fill: var(--best); }
.whisker { stroke-width: 1.5; }
.target { stroke-width: 2; stroke-dasharray: 3 2; }
.scroll { overflow-x: auto; }
table { border-collapse: collapse; font-size: 0.9rem; font-variant-numeric: tabular-nums; }
th, td { padding: 0.2rem 0.7rem; text-align: right; border-bottom: 1px solid var(--line);
         white-space: nowrap; }
th { color: var(--soft); font-weight: 600; vertical-align: bottom; }
th:first-child, td:first-child, th:nth-child(2), td:nth-child(2) { text-align: left; }
.missed { color: var(--missed); font-weight: 600; }
summary { cursor: pointer; color: var(--soft); }
"""


def tasks_of(runs):
    """{task: {contender: {"role": ..., "points": {case: {level: case of the JSON}}}}}, in order."""
    tasks = {}
    for run in runs:
        for case in run.get("cases", ()):
            contenders = tasks.setdefault(case["task"], {})
            contender = contenders.setdefault(case["name"], {"role": case["role"], "points": {}})
            contender["points"].setdefault(case["case"], {})[run["level"]] = case
    for contenders in tasks.values():
        for contender in contenders.values():
            contender["points"] = dict(sorted(contender["points"].items(), key=size_of))
    return tasks


def size_of(case):
    """The key to sort by: cases without a size stay in the order of the run."""
    return next(iter(case[1].values()))["bytes"]


def number(value):
    """Two decimals below 10, one below 100, and then none."""
    if value >= 100:
        return f"{value:.0f}"
    return f"{value:.2f}" if value < 10 else f"{value:.1f}"


def time(ns):
    for factor, unit in ((1, "ns"), (1e3, "µs"), (1e6, "ms")):
        if ns < 1e4 * factor:
            return f"{number(ns / factor)} {unit}"
    return f"{number(ns / 1e9)} s"


def whisker(case):
    """The ends of a ratio's spread; a logarithm needs them above 0."""
    ratio, spread = case["ratio"], case["spread"]
    return max(ratio - spread, ratio / 10), ratio + spread


class Scale:
    """Maps ratios to horizontal positions: logarithmic, with 1 and every ratio in range."""

    def __init__(self, ratios, left, right):
        self.low = math.log10(min([*ratios, 0.8])) - 0.05
        self.high = math.log10(max([*ratios, 1.25])) + 0.05
        self.left, self.right = left, right

    def x(self, ratio):
        share = (math.log10(ratio) - self.low) / (self.high - self.low)
        share = min(max(share, 0), 1)  # in a disturbed run, a whisker may reach further
        return round(self.left + share * (self.right - self.left), 1)

    def ticks(self):
        """1, 2, 5, 10, ... that are in range; only the powers of ten if the range is wide."""
        steps = (1, 2, 5) if self.high - self.low < 2.6 else (1,)
        decades = range(math.floor(self.low), math.ceil(self.high) + 1)
        ticks = [step * 10.0 ** decade for decade in decades for step in steps]
        return [tick for tick in ticks if self.low <= math.log10(tick) <= self.high]


def mark(case, level, point, scale, y):
    """One ratio: a whisker, a dot, and its target if it has one."""
    said = f"{case}, {level}: {number(point['ratio'])} ± {number(point['spread'])}"
    if point.get("target"):
        said += f", target {number(point['target'])}"
        at = scale.x(point["target"])
        yield f'<line class="{level} target" x1="{at}" x2="{at}" y1="{y - 5}" y2="{y + 5}"/>'
    at, (start, end) = scale.x(point["ratio"]), map(scale.x, whisker(point))
    shape = (f'<circle r="3.5" cx="{at}" cy="{y}"/>' if level == LEVELS[0] else
             f'<rect width="7" height="7" x="{at - 3.5:.1f}" y="{y - 3.5}"/>')
    yield (f'<g class="{level}"><title>{escape(said)}</title>'
           f'<line class="whisker" x1="{start}" x2="{end}" y1="{y}" y2="{y}"/>{shape}</g>')


def times(ours, point, y, right=WIDTH):
    """The times that a ratio is made of, at the end of its line."""
    return (f'<text x="{right - 2}" y="{y + 4}" text-anchor="end">'
            f'{time(ours["ns"])} : {time(point["ns"])}</text>')


def rows(points):
    """(name of a case, its top, [(level, point, middle of its line)]) from the top down."""
    top = TOP
    for case, by_level in points.items():
        levels = [level for level in LEVELS if level in by_level]
        yield case, top, [(level, by_level[level], top + LABEL + LINE * i + LINE // 2)
                          for i, level in enumerate(levels)]
        top += LABEL + LINE * len(levels)


def figure(heading, said, height, parts):
    return (f'<figure><h3>{escape(heading)}</h3><svg viewBox="0 0 {WIDTH} {height}" role="img" '
            f'aria-label="{escape(said)}">{"".join(parts)}</svg></figure>')


def said_of(points, form):
    return "; ".join(f"{case} " + ", ".join(f"{level} {form(by_level[level]['ratio'])}"
                                            for level in LEVELS if level in by_level)
                     for case, by_level in points.items())


def chart(name, contender, ours, ratios):
    """The ratios to another library: the name of each case, and below it a line for each build."""
    points = contender["points"]
    scale = Scale(ratios, 10, WIDTH - TIMES)
    one = scale.x(1)
    parts = [f'<text x="{scale.x(tick)}" y="{TOP - 8}" text-anchor="middle">{tick:g}</text>'
             for tick in scale.ticks()]
    parts.append(f'<text x="{WIDTH - 2}" y="{TOP - 8}" text-anchor="end">ours : theirs</text>')
    bottom = TOP
    for case, top, lines in rows(points):
        band, bottom = top + LABEL, top + LABEL + LINE * len(lines)
        parts.append(f'<text class="case" x="{scale.left}" y="{band - 4}">{escape(case)}</text>')
        parts.append(f'<rect class="slow" x="{scale.left}" y="{band}" '
                     f'width="{one - scale.left:.1f}" height="{bottom - band}"/>')
        for tick in scale.ticks():
            x = scale.x(tick)
            parts.append(f'<line class="{"one" if tick == 1 else "grid"}" x1="{x}" x2="{x}" '
                         f'y1="{band}" y2="{bottom}"/>')
        for level, point, y in lines:
            parts += mark(case, level, point, scale, y)
            parts.append(times(ours["points"][case][level], point, y))
    heading = f"against {name}"
    return figure(heading, f"Ratios {heading}: {said_of(points, number)}", bottom + 6, parts)


def percent(ratio):
    return f"{ratio:.0%}"


def limit_chart(name, contender, ours):
    """What share of the possible speed ours reaches: bars, and a line at the limit."""
    points = contender["points"]
    left, right = 10, WIDTH - TIMES
    most = max([1, *(point["ratio"] for by_level in points.values() for point in by_level.values())])

    def x(ratio):
        return round(left + (right - 40 - left) * ratio / most, 1)
    parts = [f'<text x="{x(1)}" y="{TOP - 8}" text-anchor="middle">limit</text>',
             f'<text x="{WIDTH - 2}" y="{TOP - 8}" text-anchor="end">ours : limit</text>']
    bottom = TOP
    for case, top, lines in rows(points):
        band, bottom = top + LABEL, top + LABEL + LINE * len(lines)
        parts.append(f'<text class="case" x="{left}" y="{band - 4}">{escape(case)}</text>')
        for level, point, y in lines:
            end = x(point["ratio"])
            after = max(end, x(1)) if point["ratio"] > 0.9 else end  # not on the limit's line
            parts.append(f'<rect class="{level} limit" x="{left}" y="{y - 5}" '
                         f'width="{end - left:.1f}" height="10"/>'
                         f'<text x="{after + 4:.1f}" y="{y + 4}">{percent(point["ratio"])}</text>')
            parts.append(times(ours["points"][case][level], point, y))
        parts.append(f'<line class="bound" x1="{x(1)}" x2="{x(1)}" y1="{band}" y2="{bottom}"/>')
    heading = f"share of the limit: {name}"
    return figure(heading, f"{heading.capitalize()}: {said_of(points, percent)}", bottom + 6, parts)


def table(contenders):
    others = [name for name in contenders if contenders[name]["role"] != "ours"]
    head = ["case", "build", "ours", "GB/s"]
    head += [name if contenders[name]["role"] == "peer" else f"limit: {name}" for name in others]
    yield "<table><tr>" + "".join(f"<th>{escape(cell)}</th>" for cell in head) + "</tr>"
    for name, by_level in next(iter(contenders.values()))["points"].items():
        for level in LEVELS:
            if level not in by_level:
                continue
            ours = by_level[level]
            cells = [escape(name), level, time(ours["ns"]),
                     number(ours["bytes"] / ours["ns"]) if ours["bytes"] else ""]
            for other in others:
                point = contenders[other]["points"].get(name, {}).get(level)
                cells.append(cell_of(point) if point else "")
            yield "<tr>" + "".join(f"<td>{cell}</td>" for cell in cells) + "</tr>"
    yield "</table>"


def is_missed(point):
    return "target" in point and point["ratio"] < point["target"]


def cell_of(point):
    text = f"{number(point['ratio'])} ± {number(point['spread'])}"
    if "target" in point:
        text += f" [{number(point['target'])}]"
    if "undecidable" in point:
        text += ", one run cannot decide"
    return f'<span class="missed">{text} missed</span>' if is_missed(point) else text


def section(task, contenders):
    yield f'<h2 id="{escape(task)}">{escape(task)}</h2><div class="charts">'
    for role in ("peer", "limit"):
        same = {name: c for name, c in contenders.items() if c["role"] == role}
        ratios = [end for c in same.values() for by_level in c["points"].values()
                  for point in by_level.values()
                  for end in (point["ratio"], point.get("target", 1))]
        ours = next(c for c in contenders.values() if c["role"] == "ours")
        for name, contender in same.items():
            yield (chart(name, contender, ours, ratios) if role == "peer" else
                   limit_chart(name, contender, ours))
    yield '</div><details><summary>Figures</summary><div class="scroll">'
    yield from table(contenders)
    yield "</div></details>"


def facts(runs):
    """What produced the figures. If the programs of a run differ in a fact, lists all its values."""
    def every(member, words="{}"):
        values = dict.fromkeys(words.format(run[member]) for run in runs if member in run)
        return ", ".join(values) or "unknown"
    dates = sorted(run["date"] for run in runs if "date" in run)
    yield "Machine", every("cpu") + "; " + every("cpus", "{} processors")
    yield "Compiler", every("compiler")
    yield "Date", " to ".join(dict.fromkeys((dates[0], dates[-1]))) if dates else "unknown"
    yield "Builds", every("level")
    yield "Rounds", every("rounds")
    versions = {name: version for run in runs for name, version in run.get("peers", {}).items()}
    yield "Others", ", ".join(f"{name} {version}" for name, version in versions.items()) or "unknown"


def busy(runs):
    """The largest share of the processors that other work took during a program."""
    return max((run["others"] / run["cpus"] for run in runs if "others" in run), default=0)


def key():
    def sample(level, shape):
        return f'<svg viewBox="0 0 36 20" aria-hidden="true"><g class="{level}">{shape}</g></svg>'
    dot = '<line class="whisker" x1="4" x2="32" y1="10" y2="10"/><circle r="5" cx="18" cy="10"/>'
    box = ('<line class="whisker" x1="4" x2="32" y1="10" y2="10"/>'
           '<rect width="10" height="10" x="13" y="5"/>')
    dash = '<line class="target" x1="18" x2="18" y1="1" y2="19"/>'
    bar = ('<rect class="limit" x="2" y="5" width="24" height="10"/>'
           '<line class="bound" x1="32" x2="32" y1="1" y2="19"/>')
    return ('<p class="key">'
            f"<span>{sample('baseline', dot)} baseline: runs on every CPU</span>"
            f"<span>{sample('best', box)} best: compiled for this machine</span>"
            f"<span>{sample('baseline', dash)} target</span>"
            f"<span>{sample('baseline', bar)} share of what is possible</span></p>")


def page(runs, home=None):
    tasks = tasks_of(runs)
    missed = sum(is_missed(point) for contenders in tasks.values() for c in contenders.values()
                 for by_level in c["points"].values() for point in by_level.values())
    yield ('<!DOCTYPE html>\n<html lang="en"><head><meta charset="utf-8"/>'
           '<meta name="viewport" content="width=device-width, initial-scale=1"/>'
           f"<title>libwyx_commlib: benchmarks</title><style>{STYLE}</style></head><body>")
    if home:
        yield f'<p><a href="{escape(home)}">Documentation</a></p>'
    yield "<h1>libwyx_commlib beside others</h1><dl>"
    for name, value in (*facts(runs), ("Targets missed", str(missed))):
        yield f"<dt>{name}</dt><dd>{escape(value)}</dd>"
    yield "</dl>"
    if busy(runs) > QUIET:
        yield ('<p class="warning">The machine had other work during this run, which took up to '
               f"{busy(runs):.0%} of its processors. Measure again before you believe these "
               "figures.</p>")
    yield ("<p>A ratio says how many times as fast ours is: right of the line at 1 ours is "
           "faster, left of it slower. The scale is logarithmic; whiskers are half the distance between the "
           "quartiles. At the end of a line are the times of ours and of the other. A limit is the "
           "part that no implementation can avoid, such as reading the input: its bars show how much "
           "of that speed ours reaches.</p>")
    yield key() + "<nav>"
    yield from (f'<a href="#{escape(task)}">{escape(task)}</a>' for task in tasks)
    yield "</nav>"
    for task, contenders in tasks.items():
        yield from section(task, contenders)
    yield "</body></html>"


SUMMARY_STYLE = """
text { font: 12px system-ui, sans-serif; fill: #51606e; } .task { fill: #1b2733; font-weight: 600; }
.grid { stroke: #c9d3dc; } .one { stroke: #1b2733; stroke-width: 1.5; } .slow { fill: #fbeeee; }
.whisker { stroke-width: 1.5; } .baseline { stroke: #1f6fb5; fill: #1f6fb5; }
.best { stroke: #b3540a; fill: #b3540a; } .back { fill: #fff; }
@media (prefers-color-scheme: dark) {
  text { fill: #a3b1bd; } .task { fill: #e4ebf1; } .grid { stroke: #3c4853; } .one { stroke: #e4ebf1; }
  .slow { fill: #2c2022; } .baseline { stroke: #69b3f2; fill: #69b3f2; }
  .best { stroke: #f0a056; fill: #f0a056; } .back { fill: #16191c; }
}
"""


def summary(runs):
    """A drawing of the case in the middle of each task, against each other library."""
    groups = []  # (task, case, {name of the other: {level: (ours, theirs)}})
    for task, contenders in tasks_of(runs).items():
        ours = next(c for c in contenders.values() if c["role"] == "ours")["points"]
        case = list(ours)[(len(ours) - 1) // 2]  # the smaller of two middle ones: less disturbed
        others = {name: {level: (ours[case][level], {**point, "target": None})
                         for level, point in c["points"][case].items()}
                  for name, c in contenders.items()
                  if c["role"] == "peer" and case in c["points"] and not name.startswith("our ")}
        if others:
            groups.append((task, case, others))
    ratios = [theirs["ratio"] for *_, others in groups for points in others.values()
              for _, theirs in points.values()]
    width, left, top, row, gap = 900, 420, 64, 16, 6
    scale = Scale(ratios, left, width - 130)
    body, y = [], top
    for task, case, others in groups:
        body.append(f'<text class="task" x="8" y="{y + 12}">{escape(task)}</text>'
                    f'<text x="8" y="{y + 12 + row}">{escape(case)}</text>')
        for at, (name, points) in enumerate(others.items()):
            line = y + row * at
            body.append(f'<text x="{left - 8}" y="{line + 12}" text-anchor="end">{escape(name)}</text>')
            for i, level in enumerate(level for level in LEVELS if level in points):
                body += mark(f"{task}, {case}, {name}", level, points[level][1], scale, line + 6 + 5 * i)
            body.append(times(*points.get(LEVELS[0], points.get(LEVELS[1])), line + 8, width))
        y += row * max(2, len(others)) + gap
    known = dict(facts(runs))
    day = known["Date"].split()[0]
    title = f"How many times as fast ours is: {known['Machine']}; {known['Compiler']}; {day}"
    yield (f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {y + 4}" role="img">'
           f"<title>{escape(title)}</title><style>{SUMMARY_STYLE}</style>")
    yield f'<rect class="back" width="{width}" height="{y + 4}"/>'
    yield f'<text class="task" x="8" y="18">{escape(title)}</text>'
    yield ('<g class="baseline"><circle r="3.5" cx="14" cy="34"/></g>'
           '<text x="24" y="38">baseline: runs on every CPU</text>'
           '<g class="best"><rect width="7" height="7" x="200" y="30.5"/></g>'
           '<text x="213" y="38">best: compiled for this machine</text>')
    if busy(runs) > QUIET:
        yield (f'<text x="{width - 2}" y="38" text-anchor="end">other work took up to '
               f"{busy(runs):.0%} of the processors</text>")
    yield f'<text x="{width - 2}" y="{top - 6}" text-anchor="end">ours : theirs</text>'
    yield f'<rect class="slow" x="{left}" y="{top}" width="{scale.x(1) - left:.1f}" height="{y - top}"/>'
    for tick in scale.ticks():
        x = scale.x(tick)
        yield (f'<line class="{"one" if tick == 1 else "grid"}" x1="{x}" x2="{x}" y1="{top}" y2="{y}"/>'
               f'<text x="{x}" y="{top - 6}" text-anchor="middle">{tick:g}</text>')
    yield from body
    yield "</svg>"


if __name__ == "__main__":
    arguments = sys.argv[1:]
    form = page
    if arguments[0] == "--summary":
        form = summary
        del arguments[0]
    with open(arguments[0], encoding="utf-8") as file:
        sys.stdout.reconfigure(encoding="utf-8")
        print("\n".join(form(json.load(file), *arguments[1:])))
