#!/usr/bin/env python3
"""Runs the benchmarks and writes a page and its plots from what they report.

    report.py PROGRAMS RESULTS PAGES [--quick] [Google Benchmark's options]

PROGRAMS is the folder of the programs, RESULTS becomes a file with all that they said, as JSON. The
page in the folder PAGES gets a section of this machine; those of others stay as they are.
"""
import collections
import datetime
import json
import operator
import pathlib
import re
import statistics
import subprocess
import sys

INTRODUCTION = """# How fast

Written by `benchmarks/run`, which measures everything here and checks first, on the very pictures
that it times, that each conversion gives the bytes of the reference. A run adds the section of its
machine, which is a processor and the level of vector instructions that the kernels use, or replaces
it. The plots are of the latest run.

- **Limit**: reads every byte of the input and writes every byte of the output, on as many threads:
  the fastest of plain and non-temporal stores of 16, 32 and 64 bytes, as the machine has them.
- **Copy**: a copy by the C library that moves as many bytes, to check the limit.
- **Reference**: the arithmetic as it is written, pixel by pixel in double precision, on as many
  threads. The tests hold the converters to it.
- **Ours**: a frame's way through the Encoder, its memory out of the pool, as the reader does it.
- **Others**: other libraries from Debian's packages on the nearest same work.

A conversion and all that it is compared with share a process and take turns at random, each writing
to outputs that rotate. A figure is the median of the ratios of the single rounds. Pictures are noise
(random bytes) and smooth (gradients and a slow wave): a cell with two figures gives noise first. Bold
figures with a cross miss their target.

![Each conversion beside the limit, the reference and other libraries](benchmarks-speed.svg)

![Nanoseconds for a pixel at 0.5 to 33 megapixels](benchmarks-growth.svg)
"""

PICTURES = ("noise", "smooth")
HEIGHTS = {540: "0.5 Mpixel", 1080: "1080p", 2160: "4K", 4320: "33 Mpixel"}
USUAL = [(height, threads) for height in (1080, 2160) for threads in (1, 2)]
EQUAL_PICTURES = 200  # dB, and more

Key = collections.namedtuple("Key", "conversion picture height threads")


# Measuring

def run(*command):
    done = subprocess.run(command, capture_output=True, text=True)
    if done.returncode:
        sys.exit(done.stderr)
    return done.stdout


def groups_of(program, options, quick):
    """The groups of benchmarks that take turns, as far as they are asked for."""
    names = run(program, "--benchmark_list_tests", *options).splitlines()
    asked = any(option.startswith("--benchmark_filter") for option in options)
    for group in dict.fromkeys("/".join(name.split("/")[:4]) for name in names):
        _, picture, height, _ = group.split("/")
        if (asked or not group.startswith("further")) and (
                not quick or picture != "smooth" and int(height) <= 1080):
            yield group


def measure(programs, options):
    quick = "--quick" in options
    options = [option for option in options if option != "--quick"]
    work = [(programs / name, group)
            for name in ("conversionBenchmark", "readerBenchmark")[:1 if quick else 2]
            if (programs / name).exists()
            for group in groups_of(programs / name, options, quick)]
    options = [option for option in options if not option.startswith("--benchmark_filter")]
    results = {"context": {}, "benchmarks": []}
    for number, (program, group) in enumerate(work, 1):
        print(f"{number}/{len(work)} {group}", file=sys.stderr, flush=True)
        _, picture, height, _ = group.split("/")
        rounds = 1 if picture == "photograph" else 7 if quick else max(7, 21 * 1080 // int(height))
        part = json.loads(run(program, f"--benchmark_repetitions={rounds}",
                              "--benchmark_enable_random_interleaving", *options,
                              "--benchmark_format=json",
                              "--benchmark_filter=^" + re.sub(r"[^\w /-]", ".", group) + "/"))
        results["context"] = part["context"] | results["context"]
        results["benchmarks"] += sorted(part["benchmarks"],
                                        key=operator.itemgetter("family_index"))
    return results


# Figures

def grouped(benchmarks):
    """The rounds of each contender in each group, and the names of those that were not exact."""
    groups = collections.defaultdict(lambda: collections.defaultdict(list))
    failures = []
    for entry in benchmarks:
        conversion, picture, height, threads, contender = entry["run_name"].split("/")[:5]
        if entry.get("error_occurred"):
            failures.append(f"{entry['run_name']}: {entry['error_message']}")
        elif entry["run_type"] == "iteration":
            groups[Key(conversion, picture, int(height), int(threads))][contender].append(entry)
    for contenders in groups.values():
        stores = [name for name in contenders if name.startswith("limit: ")]
        if stores:
            fastest = min(stores, key=lambda name: statistics.median(column(contenders[name])))
            contenders["limit"] = [entry | {"stores": fastest[7:]} for entry in contenders[fastest]]
    return groups, failures


def column(rounds, figure="real_time"):
    return [each[figure] for each in rounds]


def ratio(group, dividend, divisor):
    """The median of the rounds' ratios, or nothing where one of the two was not measured."""
    if group is None or dividend not in group or divisor not in group:
        return None
    return statistics.median(map(operator.truediv, column(group[dividend]), column(group[divisor])))


def target_of(group, contender):
    return group[contender][0].get("target", 0) if group and contender in group else 0


def number(value):
    return f"{value:.2f}" if value < 9.995 else f"{value:.1f}"


def target_text(value):
    return number(value) if value else "–"


def marked(value, missed):
    return f"**{number(value)}** ✗" if missed else number(value)


def table(*rows):
    head, *body = rows
    lines = [head, ["---"] * len(head), *body]
    return "\n".join("|" + "|".join(map(str, line)) + "|" if line[0] == "---" else
                     "| " + " | ".join(map(str, line)) + " |" for line in lines) + "\n"


class Report:
    def __init__(self, results):
        self.context = results["context"]
        self.groups, self.failures = grouped(results["benchmarks"])
        names = dict.fromkeys(key.conversion for key in self.groups)
        self.conversions = [name for name in names if self.figures(name, "limit", "ours")]
        self.growing = [name for name in names if any((name, "noise", 540, threads) in self.groups
                                                      for threads in (1, 2))]
        self.peers = dict.fromkeys((key.conversion, name) for key, group in self.groups.items()
                                   if key.height in (1080, 2160) for name in group
                                   if ": " in name and not name.startswith("limit"))
        self.machine = f"{self.context['processor']}, {self.context['kernel level']}"

    def figures(self, conversion, dividend, divisor):
        """Ratios in all settings of 1080p and 4K, in ascending order."""
        ratios = (ratio(group, dividend, divisor) for key, group in self.groups.items()
                  if key.conversion == conversion and (key.height, key.threads) in USUAL)
        return sorted(each for each in ratios if each is not None)

    def cell(self, conversion, height, threads, dividend, divisor, is_missed, targeted):
        texts = []
        for picture in PICTURES:
            group = self.groups.get((conversion, picture, height, threads))
            value = ratio(group, dividend, divisor)
            if value is not None:
                target = target_of(group, targeted)
                texts.append(marked(value, target and is_missed(value, target)))
        return ", ".join(texts) or "–"

    def target(self, conversion, threads, contender):
        groups = (self.groups.get((conversion, "noise", height, threads)) for height in HEIGHTS)
        return target_text(max(target_of(group, contender) for group in groups))

    def conversion_table(self, dividend, divisor, is_missed, targeted, threads_of_target):
        columns = [f"{HEIGHTS[height]}, {threads} thread{'s' * (threads > 1)}"
                   for height, threads in USUAL]
        rows = [["from", "to", *columns, "target"]]
        for name in self.conversions:
            cells = [self.cell(name, height, threads, dividend, divisor, is_missed, targeted)
                     for height, threads in USUAL]
            targets = dict.fromkeys([", ".join(self.target(name, threads, targeted)
                                               for threads in threads_of_target)])
            rows.append([*name.split(" to "), *cells, *targets])
        return table(*rows)

    def limit_table(self):
        rows = [["frame", "threads", "fastest stores", "copy / limit", "least to most"]]
        for height in HEIGHTS:
            for threads in (1, 2):
                groups = [group for key, group in self.groups.items() if "copy" in group
                          and (key.height, key.threads) == (height, threads)]
                if not groups:
                    continue
                fastest = collections.Counter(group["limit"][0]["stores"] for group in groups)
                ratios = [ratio(group, "copy", "limit") for group in groups]
                rows.append([HEIGHTS[height], threads,
                             "; ".join(f"{name} ({count} of {len(groups)})"
                                       for name, count in fastest.most_common(2)),
                             number(statistics.median(ratios)),
                             f"{number(min(ratios))} to {number(max(ratios))}"])
        return table(*rows)

    def quality(self, peer):
        for key, group in self.groups.items():
            if key.picture == "photograph" and peer in group:
                theirs, ours = group[peer][0]["theirs"], group[peer][0]["ours"]
                if ours:
                    return f"ours {ours:.1f}, theirs {theirs:.1f}"
                return "equal" if theirs > EQUAL_PICTURES else f"{theirs:.1f} to ours"
        return "–"

    def peer_table(self):
        rows = [["ours", "theirs", "threads", "1080p", "4K", "target", "PSNR, dB"]]
        differences = []
        for name, peer in self.peers:
            for threads in (1, 2):
                cells = [self.cell(name, height, threads, peer, "ours", operator.lt, peer)
                         for height in (1080, 2160)]
                if cells != ["–", "–"]:
                    rows.append([name, peer, threads, *cells, self.target(name, 1, peer),
                                 self.quality(peer)])
            label = next(group[peer][0]["label"] for key, group in self.groups.items()
                         if key.picture in PICTURES and peer in group)
            differences.append(f"- {peer.replace(': ', ', ', 1)}: {label}.\n")
        return table(*rows) + "\nWhat they do differently:\n\n" + "".join(differences)

    def nanoseconds(self, name, height, threads):
        group = self.groups.get((name, "noise", height, threads))
        pixels = height * 16 // 9 * height
        return statistics.median(column(group["ours"])) * 1e6 / pixels if group else None

    def growth_table(self):
        rows = [["conversion", "threads", "0.5 Mpixel", "2", "8", "33"]]
        for name in self.growing:
            for threads in (1, 2):
                cells = []
                for height in HEIGHTS:
                    value = self.nanoseconds(name, height, threads)
                    group = self.groups.get((name, "noise", height, threads))
                    cells.append("–" if value is None else
                                 f"{value:.2f} ({ratio(group, 'ours', 'limit'):.2f})")
                rows.append([name, threads, *cells])
        return table(*rows)

    def reader_table(self):
        rows = [["file, height", "file read, ms", "limit, ms", "row copy, ms",
                 "open and convert, ms", "rows, ms", "ours / the three", "at most",
                 "first frame, ms", "its pages, ms", "first / pages", "at most"]]
        for key, group in self.groups.items():
            name, _, rest = key.conversion.partition(" to rows")
            first = self.groups.get(key._replace(conversion=name + " first frame"))
            if rest or not key.conversion.endswith(" to rows") or not first:
                continue
            parts = [column(group[part]) for part in ("file read", "limit", "row copy")]
            ours, first = group["ours"], first["ours"]
            ratios = [
                statistics.median(map(operator.truediv, column(ours), map(sum, zip(*parts)))),
                statistics.median(map(operator.truediv, column(first), column(first, "pages")))]
            milliseconds = [f"{statistics.median(times):.2f}" for times in
                            (*parts, column(ours, "open"), column(ours, "rows"), column(first),
                             column(first, "pages"))]
            targets = [ours[0]["target"], first[0]["target"]]
            marks = [marked(value, value > target) for value, target in zip(ratios, targets)]
            rows.append([f"{name}, {key.height}", *milliseconds[:5], marks[0], targets[0],
                         *milliseconds[5:], marks[1], targets[1]])
        return table(*rows) if len(rows) > 1 else None

    def section(self):
        context = self.context
        caches = [cache for cache in context["caches"] if cache["level"] == 3]
        machine = table(
            ["", ""],
            ["Processor", f"{context['processor']}, {context['num_cpus']} cores" + "".join(
                f", {cache['size'] >> 20} MB of L3 cache" for cache in caches)],
            ["Kernels", context["kernel level"]],
            ["Compiler", context["compiler"]],
            ["OpenCV", context["OpenCV"]],
            ["Compared with", context.get("compared with", "–")],
            ["Date", datetime.date.fromisoformat(context["date"][:10])])
        parts = [f"## {self.machine}\n\n{machine}"]
        if self.conversions:
            parts += [
                "### Against the limit\n\nOurs / limit: 1 is as fast as memory. The target is an "
                "upper bound, on one thread and on two.\n\n"
                + self.conversion_table("ours", "limit", operator.gt, "ours", (1, 2)),
                "Which stores the limit is of, and how long a copy by the C library takes that "
                "moves as many bytes:\n\n" + self.limit_table(),
                "### Against the reference\n\nReference / ours: how many times as fast ours is. "
                "The target is a lower bound.\n\n"
                + self.conversion_table("reference", "ours", operator.lt, "reference", (1,))]
        if self.peers:
            parts.append(
                "### Beside other libraries\n\nTheirs / ours at equal numbers of threads: how many "
                "times as fast ours is. The last column compares a photograph: of decoders, their "
                "picture with ours; of encoders, what is decoded from either's blocks with the "
                "photograph.\n\n" + self.peer_table())
        if self.growing:
            parts.append(
                "### How cost grows\n\nOn noise: nanoseconds for a pixel, and behind it ours / "
                "limit. A frame of half a megapixel lies in the cache as a whole; one of 33 "
                "megapixels and its result of half a gigabyte lie in memory.\n\n"
                + self.growth_table())
        reader = self.reader_table()
        if reader:
            parts.append("### From file to rows\n\n" + reader)
        return "\n".join(parts)


def with_section(page, section):
    """The page with a section replaced or added; its introduction is written anew."""
    heading = section.splitlines()[0]
    sections = re.split(r"^(?=## )", page, flags=re.M)[1:]
    place = next((index for index, each in enumerate(sections)
                  if each.splitlines()[0] == heading), len(sections))
    sections[place:place + 1] = [section]
    return "\n".join([INTRODUCTION, *(each.strip() + "\n" for each in sections)])


# Plots, in colours that the colour-blind can tell apart.

OURS, REFERENCE, OTHERS, GREY, FAINT = "#0072B2", "#D55E00", "#009E73", "#666666", "#E4E4E4"


def plain_axes(axes, grid):
    axes.grid(axis=grid, color=FAINT)
    axes.set_axisbelow(True)
    axes.tick_params(length=0, which="both")
    axes.minorticks_off()
    for spine in axes.spines.values():
        spine.set_visible(False)


def draw_speed(report, pyplot, path):
    # Rows that differ from others in the order of the colours only are left out.
    conversions = [name for name in report.conversions if "BGR-" not in name]
    peers = list(report.peers)
    height = 0.26 * (len(conversions) + len(peers)) + 2.4
    figure, panels = pyplot.subplots(2, figsize=(10.6, height),
                                     height_ratios=(len(conversions), len(peers)))

    def dots(axes, row, values, colour):
        if values:
            axes.plot([values[0], values[-1]], [row, row], color=colour, linewidth=2.2)
            axes.plot(statistics.median(values), row, "o", color=colour, markersize=5.5)

    for row, name in enumerate(conversions):
        dots(panels[0], row, report.figures(name, "reference", "limit"), REFERENCE)
        dots(panels[0], row, report.figures(name, "ours", "limit"), OURS)
    for row, (name, peer) in enumerate(peers):
        values = report.figures(name, peer, "ours")
        dots(panels[1], row, values, OTHERS)
        right = statistics.median(values) < 15
        panels[1].annotate(peer, (values[-1] if right else values[0], row),
                           (9 if right else -9, 0), textcoords="offset points", va="center",
                           ha="left" if right else "right", color=OTHERS, fontsize=9.5)
    for axes, rows, title, legend in (
            (panels[0], conversions, "Time of a conversion, as a multiple of the limit: of reading "
             "and writing its bytes", [("● ours", OURS), ("● reference, pixel by pixel", REFERENCE)]),
            (panels[1], [name.split(",")[0] for name, _ in peers], "Time of other libraries at the nearest same "
             "work, as a multiple of ours", [("● another library, on as many threads", OTHERS)])):
        plain_axes(axes, "x")
        axes.set_xscale("log")
        axes.set_xlim(0.7, max(130, 1.1 * axes.dataLim.x1))
        axes.set_xticks([1, 2, 5, 10, 20, 50, 100])
        axes.xaxis.set_major_formatter("{x:g}×")
        axes.set_yticks(range(len(rows)), rows)
        axes.set_ylim(len(rows) - 0.5, -0.5)
        axes.axvline(1, color=GREY, linewidth=1.5, zorder=0)
        axes.set_title(title, loc="left", x=-0.35, pad=28, fontweight="bold", fontsize=12)
        for index, (text, colour) in enumerate(legend):
            axes.annotate(text, (index * 0.1, 1), (0, 9), xycoords="axes fraction",
                          textcoords="offset points", color=colour)
    figure.text(0.02, 0.01, f"{report.machine}. Dots: the median of noisy and smooth pictures of "
                "1080p and 4K, on one and two threads. Lines: from the least to the most.",
                color=GREY, fontsize=9)
    figure.subplots_adjust(0.27, 0.75 / height, 0.97, 1 - 0.7 / height, hspace=0.27)
    figure.savefig(path)


def draw_growth(report, pyplot, path):
    figure, panels = pyplot.subplots(1, len(report.growing), figsize=(10.6, 4), sharey=True,
                                     squeeze=False)
    for axes, name in zip(panels[0], report.growing):
        plain_axes(axes, "y")
        for threads, colour in ((1, "black"), (2, OURS)):
            points = [(height * height * 16 / 9e6, report.nanoseconds(name, height, threads))
                      for height in HEIGHTS]
            axes.loglog(*zip(*(point for point in points if point[1])), "o-", color=colour,
                        markersize=5, linewidth=2.2)
        axes.set_xlim(0.36, 50)
        axes.set_xticks([0.518, 2.07, 8.29, 33.2], ["0.5", "2", "8", "33"])
        axes.set_yticks([0.2, 0.5, 1, 2, 5, 10], ["0.2", "0.5", "1", "2", "5", "10"])
        axes.set_ylim(0.1, 16)
        axes.set_title(name.replace(" to ", "\nto "), loc="left", fontsize=10)
        axes.minorticks_off()
    figure.text(0.02, 0.93, "Nanoseconds for a pixel, by the megapixels of the picture",
                fontweight="bold", fontsize=12)
    figure.text(0.05, 0.865, "● one thread")
    figure.text(0.16, 0.865, "● two threads", color=OURS)
    figure.text(0.02, 0.02, report.machine + ", noise.", color=GREY, fontsize=9)
    figure.subplots_adjust(0.05, 0.15, 0.98, 0.73, wspace=0.12)
    figure.savefig(path)


def draw(report, pages):
    import matplotlib
    matplotlib.use("svg")
    from matplotlib import pyplot
    matplotlib.rcParams |= {"svg.fonttype": "none", "svg.hashsalt": "benchmarks"}
    if report.conversions and report.peers:
        draw_speed(report, pyplot, pages / "benchmarks-speed.svg")
    if report.growing:
        draw_growth(report, pyplot, pages / "benchmarks-growth.svg")


def main(programs, results_file, pages, *options):
    results = measure(pathlib.Path(programs), list(options))
    pathlib.Path(results_file).write_text(json.dumps(results))
    if not results["benchmarks"]:
        sys.exit("Nothing was measured.")
    report = Report(results)
    page = pathlib.Path(pages) / "benchmarks.md"
    page.write_text(with_section(page.read_text() if page.exists() else "", report.section()))
    draw(report, page.parent)
    if report.failures:
        sys.exit("\n".join(report.failures))


if __name__ == "__main__":
    if len(sys.argv) < 4:
        sys.exit(__doc__)
    main(*sys.argv[1:])
