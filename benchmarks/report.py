#!/usr/bin/env python3
"""Runs the benchmarks and writes a page and its plot from what they report.

    report.py PROGRAMS RESULTS PAGES [--quick] [Google Benchmark's options]

PROGRAMS is the folder of the programs, RESULTS becomes a file with all that they said, as JSON. The
page in the folder PAGES gets a section of this machine; those of others stay as they are.
"""
import collections
import json
import operator
import pathlib
import re
import subprocess
import sys
from statistics import median

HEIGHTS = {540: "0.5 Mpixel", 1080: "1080p", 2160: "4K", 4320: "33 Mpixel"}
USUAL = [(1080, 1), (1080, 2), (2160, 1), (2160, 2)]
Key = collections.namedtuple("Key", "conversion picture height threads")


# Measuring

def run(*command):
    done = subprocess.run(command, capture_output=True, text=True)
    if done.returncode:
        sys.exit(done.stderr)
    return done.stdout


def measure(programs, options):
    """Runs each group of benchmarks that is asked for in a process of its own, its members taking
    turns at random; first frames in as many processes as there are rounds."""
    quick = "--quick" in options
    options = [option for option in options if option != "--quick"]
    work = []
    for program in ["conversionBenchmark"] + ["readerBenchmark"] * (not quick):
        if (programs / program).exists():
            names = run(programs / program, "--benchmark_list_tests", *options).splitlines()
            groups = dict.fromkeys(tuple(name.split("/")[:4]) for name in names)
            work += [(programs / program, group) for group in groups if not quick or
                     group[1] != "smooth" and int(group[2]) <= 1080]
    options = [option for option in options if not option.startswith("--benchmark_filter")]
    processor = re.search("model name\t: (.*)", pathlib.Path("/proc/cpuinfo").read_text())[1]
    results = {"context": {"processor": processor}, "benchmarks": []}
    for number, (program, group) in enumerate(work, 1):
        name = "/".join(group)
        print(f"{number}/{len(work)} {name}", file=sys.stderr, flush=True)
        rounds = 7 if quick else max(7, 21 * 1080 // int(group[2]))
        processes = rounds if "first frame" in name else 1
        if group[1] == "photograph" or processes > 1:
            rounds = 1
        for _ in range(processes):
            part = json.loads(run(
                program, f"--benchmark_repetitions={rounds}", *options, "--benchmark_format=json",
                "--benchmark_enable_random_interleaving",
                "--benchmark_filter=^" + re.sub(r"[^\w /-]", ".", name) + "/"))
            results["context"] = part["context"] | results["context"]
            results["benchmarks"] += sorted(part["benchmarks"],
                                            key=operator.itemgetter("family_index"))
    return results


# Figures

def column(rounds, figure="real_time"):
    return [each[figure] for each in rounds]


def median_ratio(dividends, divisors):
    return median(map(operator.truediv, dividends, divisors))


def ratio(group, dividend, divisor):
    """Of the rounds' times, or nothing where one of the two was not measured."""
    if dividend in group and divisor in group:
        return median_ratio(column(group[dividend]), column(group[divisor]))
    return None


def number(value):
    return f"{value:.2f}" if value < 9.995 else f"{value:.1f}"


def marked(value, is_missed):
    return f"**{number(value)}** ✗" if is_missed else number(value)


def table(head, rows):
    lines = ["| " + " | ".join(map(str, row)) + " |" for row in [head, *rows]]
    return "\n".join([lines[0], "|---" * len(head) + "|", *lines[1:]]) + "\n"


class Report:
    def __init__(self, results):
        self.context = results["context"]
        self.machine = f"{self.context['processor']}, {self.context['kernel level']}"
        self.failures = []
        self.groups = collections.defaultdict(lambda: collections.defaultdict(list))
        for entry in results["benchmarks"]:
            conversion, picture, height, threads, contender = entry["run_name"].split("/")[:5]
            if entry.get("error_occurred"):
                self.failures.append(f"{entry['run_name']}: {entry['error_message']}")
            elif entry["run_type"] == "iteration":
                key = Key(conversion, picture, int(height), int(threads))
                self.groups[key][contender].append(entry)
        for group in self.groups.values():
            stores = [name for name in group if name.startswith("limit: ")]
            if stores:
                fastest = min(stores, key=lambda name: median(column(group[name])))
                group["limit"] = [entry | {"stores": fastest[7:]} for entry in group[fastest]]
        names = dict.fromkeys(key.conversion for key in self.groups)
        self.conversions = [name for name in names if self.figures(name, "ours", "limit")
                            and " to rows" not in name]
        self.growing = [name for name in names if self.group(name, 540, 1)]
        self.peers = list(dict.fromkeys(
            (key.conversion, name) for key, group in self.groups.items() for name in group
            if ": " in name and "limit" not in name and key.picture != "photograph"))

    def group(self, conversion, height, threads, picture="noise"):
        return self.groups.get(Key(conversion, picture, height, threads), {})

    def figures(self, conversion, dividend, divisor):
        """Ratios in all settings of 1080p and 4K, in ascending order."""
        ratios = (ratio(self.group(conversion, *setting, picture), dividend, divisor)
                  for setting in USUAL for picture in ("noise", "smooth"))
        return sorted(each for each in ratios if each is not None)

    def cell(self, conversion, setting, figure, is_missed):
        """Both pictures' figures, against the target of the contender that the figure is of."""
        contender, dividend, divisor = figure
        texts = []
        for picture in ("noise", "smooth"):
            group = self.group(conversion, *setting, picture)
            value = ratio(group, dividend, divisor)
            if value is not None:
                target = group[contender][0]["target"]
                texts.append(marked(value, target and is_missed(value, target)))
        return ", ".join(texts) or "–"

    def target(self, conversion, threads, contender):
        targets = [group[contender][0]["target"] for key, group in self.groups.items()
                   if (key.conversion, key.threads) == (conversion, threads) and contender in group
                   and key.picture != "photograph"]
        return number(targets[0]) if targets and targets[0] else "–"

    def conversion_table(self):
        head = [f"{HEIGHTS[height]}, {threads} thread{'s' * (threads > 1)}"
                for height, threads in USUAL]
        rows = []
        for name in self.conversions:
            targets = [self.target(name, threads, "ours") for threads in (1, 2)]
            rows.append([*name.split(" to "),
                         *(self.cell(name, setting, ("ours", "ours", "limit"), operator.gt)
                           for setting in USUAL),
                         "–" if "–" in targets else ", ".join(targets)])
        return table(["from", "to", *head, "target"], rows)

    def limit_table(self):
        rows = []
        for height, threads in [(height, threads) for height in HEIGHTS for threads in (1, 2)]:
            groups = [group for key, group in self.groups.items() if "copy" in group
                      and (key.height, key.threads) == (height, threads)]
            if groups:
                fastest = collections.Counter(group["limit"][0]["stores"] for group in groups)
                ratios = [ratio(group, "copy", "limit") for group in groups]
                rows.append([HEIGHTS[height], threads,
                             "; ".join(f"{name} ({count} of {len(groups)})"
                                       for name, count in fastest.most_common(2)),
                             number(median(ratios)),
                             f"{number(min(ratios))} to {number(max(ratios))}"])
        return table(["frame", "threads", "fastest stores", "copy / limit", "least to most"], rows)

    def quality(self, peer):
        for group in self.groups.values():
            if peer in group and "theirs" in group[peer][0]:
                theirs, ours = group[peer][0]["theirs"], group[peer][0]["ours"]
                return (f"ours {ours:.1f}, theirs {theirs:.1f}" if ours else
                        "equal" if theirs > 200 else f"{theirs:.1f} to ours")
        return "–"

    def peer_table(self):
        rows, differences = [], {}
        for name, peer in self.peers:
            for threads in (1, 2):
                cells = [self.cell(name, (height, threads), (peer, peer, "ours"), operator.lt)
                         for height in (1080, 2160)]
                if set(cells) != {"–"}:
                    rows.append([name, peer, threads, *cells, self.target(name, threads, peer),
                                 self.quality(peer)])
        for group in self.groups.values():
            differences |= {peer: group[peer][0]["label"] for _, peer in self.peers
                            if peer in group and "label" in group[peer][0]}
        return table(["ours", "theirs", "threads", "1080p", "4K", "target", "PSNR, dB"], rows) + (
            "\nWhat they do differently:\n\n" + "".join(
                f"- {peer.replace(': ', ', ', 1)}: {text}.\n" for peer, text in differences.items()))

    def nanoseconds(self, name, height, threads):
        group = self.group(name, height, threads)
        return median(column(group["ours"])) * 1e6 / (height * 16 // 9 * height) if group else None

    def growth_table(self):
        def cell(name, height, threads):
            value = self.nanoseconds(name, height, threads)
            to_limit = ratio(self.group(name, height, threads), "ours", "limit")
            return f"{value:.2f} ({to_limit:.2f})" if value else "–"

        return table(["conversion", "threads", "0.5 Mpixel", "2", "8", "33"], (
            [name, threads, *(cell(name, height, threads) for height in HEIGHTS)]
            for name in self.growing for threads in (1, 2)))

    def reader_rows(self):
        for key, group in self.groups.items():
            name = key.conversion.removesuffix(" to rows")
            first = self.group(name + " first frame", key.height, key.threads).get("ours")
            if name == key.conversion or not first:
                continue
            parts = [column(group[part]) for part in ("file read", "limit", "row copy")]
            ours = group["ours"]
            steady = median_ratio(column(ours), map(sum, zip(*parts)))
            cold = median_ratio(column(first), column(first, "pages"))
            times = [f"{median(each):.2f}" for each in (
                *parts, column(ours, "open"), column(ours, "rows"), column(first),
                column(first, "pages"))]
            targets = ours[0]["target"], first[0]["target"]
            yield [f"{name}, {key.height}", *times[:5], marked(steady, steady > targets[0]),
                   targets[0], *times[5:], marked(cold, cold > targets[1]), targets[1]]

    def section(self):
        context = self.context
        cache = sum(each["size"] for each in context["caches"] if each["level"] == 3) >> 20
        parts = [f"## {self.machine}\n\n" + table(["", ""], [
            ["Processor", f"{context['processor']}, {context['num_cpus']} cores; "
                          f"{cache} MB of L3 cache"],
            *([name[0].upper() + name[1:], context[name]] for name in
              ("kernel level", "compiler", "OpenCV", "compared with") if name in context),
            ["Date", context["date"][:10]]])]
        if self.conversions:
            parts += [
                "### Against the limit\n\n" + self.conversion_table(),
                self.limit_table()]
        if self.peers:
            parts.append("### Beside other libraries\n\n" + self.peer_table())
        if self.growing:
            parts.append("### How cost grows\n\n" + self.growth_table())
        reader = list(self.reader_rows())
        if reader:
            parts.append("### From file to rows\n\n" + table(
                ["file, height", "file read, ms", "limit, ms", "row copy, ms",
                 "open and convert, ms", "rows, ms", "ours / the three", "at most",
                 "first frame, ms", "its pages, ms", "first / pages", "at most"], reader))
        return "\n".join(parts)


def with_section(page, section):
    """The page with a section replaced or added."""
    heading = section.splitlines()[0]
    introduction, *sections = re.split(r"^(?=## )", page, flags=re.M)
    place = next((index for index, each in enumerate(sections)
                  if each.splitlines()[0] == heading), len(sections))
    sections[place:place + 1] = [section]
    return "\n".join(each.strip() + "\n" for each in [introduction, *sections])


# The plot, in colours that the colour-blind can tell apart.

OURS, OTHERS, GREY, FAINT = "#0072B2", "#009E73", "#666666", "#E4E4E4"


def draw(report, path):
    import matplotlib
    matplotlib.use("svg")
    from matplotlib import pyplot
    matplotlib.rcParams |= {"svg.fonttype": "none", "svg.hashsalt": "benchmarks"}
    # Rows that differ from others in the order of the colours only are left out.
    conversions = [name for name in report.conversions if "BGR-" not in name]
    rows = len(conversions), len(report.peers)
    height = 0.26 * sum(rows) + 2.4
    figure, (upper, lower) = pyplot.subplots(2, figsize=(10.6, height), height_ratios=rows)

    def dot(axes, row, values, colour):
        if values:
            axes.plot([values[0], values[-1]], [row, row], color=colour, linewidth=2.2)
            axes.plot(median(values), row, "o", color=colour, markersize=5.5)

    for row, name in enumerate(conversions):
        dot(upper, row, report.figures(name, "ours", "limit"), OURS)
    for row, (name, peer) in enumerate(report.peers):
        values = report.figures(name, peer, "ours")
        dot(lower, row, values, OTHERS)
        end, gap, side = (-1, 9, "left") if values[-1] < 20 else (0, -9, "right")
        lower.annotate(peer, (values[end], row), (gap, 0), textcoords="offset points", va="center",
                       ha=side, color=OTHERS, fontsize=9.5)
    for axes, names, title, colour, legend in (
            (upper, conversions, "Time of a conversion, as a multiple of the limit: of reading and "
             "writing its bytes", OURS, "this library"),
            (lower, [name.split(",")[0] for name, _ in report.peers], "Time of other libraries at "
             "the nearest same work, as a multiple of ours",
             OTHERS, "another library, on as many threads")):
        axes.set_xscale("log")
        axes.set_xlim(0.7, max(130, 1.1 * axes.dataLim.x1))
        axes.set_xticks([1, 2, 5, 10, 20, 50, 100])
        axes.xaxis.set_major_formatter("{x:g}×")
        axes.set_yticks(range(len(names)), names)
        axes.set_ylim(len(names) - 0.5, -0.5)
        axes.axvline(1, color=GREY, linewidth=1.5, zorder=0)
        axes.set_title(title, loc="left", x=-0.35, pad=28, fontweight="bold", fontsize=12)
        axes.grid(axis="x", color=FAINT)
        axes.set_axisbelow(True)
        axes.tick_params(length=0)
        axes.minorticks_off()
        axes.spines[:].set_visible(False)
        axes.annotate("● " + legend, (0, 1), (0, 9), xycoords="axes fraction",
                      textcoords="offset points", color=colour)
    figure.text(0.02, 0.01, f"{report.machine}. Dots: the median of noisy and smooth pictures of "
                "1080p and 4K, on one and two threads. Lines: from the least to the most.",
                color=GREY, fontsize=9)
    figure.subplots_adjust(0.27, 0.75 / height, 0.97, 1 - 0.7 / height, hspace=0.27)
    figure.savefig(path)


def main(programs, results_file, pages, *options):
    results = measure(pathlib.Path(programs), list(options))
    if not results["benchmarks"]:
        sys.exit("Nothing was measured.")
    pathlib.Path(results_file).write_text(json.dumps(results))
    report = Report(results)
    page = pathlib.Path(pages) / "benchmarks.md"
    page.write_text(with_section(page.read_text() if page.exists() else "", report.section()))
    if report.conversions and report.peers:
        draw(report, page.parent / "benchmarks-speed.svg")
    if report.failures:
        sys.exit("\n".join(report.failures))


if __name__ == "__main__":
    if len(sys.argv) < 4:
        sys.exit(__doc__)
    main(*sys.argv[1:])
