#!/usr/bin/python3
"""Draws what pelacon_scale has measured. Usage: draw.py FOLDER PICTURES

Reads FOLDER/*.csv and writes PICTURES/scale-*.svg."""
import csv
import pathlib
import sys

import matplotlib

matplotlib.use("svg")
matplotlib.rcParams.update({"svg.hashsalt": "pelacon", "svg.fonttype": "none", "font.size": 9})
import matplotlib.pyplot as pyplot


def draw(source, target):
    with open(source, encoding="utf-8") as file:
        rows = list(csv.reader(file))
    title = ",".join(rows[0])
    x_name, y_name = rows[1][0], ",".join(rows[1][1:])
    points = [(float(x), float(y)) for x, y in rows[2:]]
    figure, axes = pyplot.subplots(figsize=(4.2, 2.8), layout="constrained")
    axes.loglog(*zip(*points), marker="o", markersize=3)
    # Proportional growth, through the last point, for the eye.
    x, y = points[-1]
    axes.loglog([points[0][0], x], [y * points[0][0] / x, y], ":", color="0.6", linewidth=1)
    lowest, highest = min(y for _, y in points), max(y for _, y in points)
    axes.set_ylim(lowest / 2, highest * 2)
    axes.set(title=title, xlabel=x_name, ylabel=y_name)
    axes.grid(True, which="major", color="0.9")
    figure.savefig(target, metadata={"Date": None})
    pyplot.close(figure)


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    pictures = pathlib.Path(sys.argv[2])
    pictures.mkdir(parents=True, exist_ok=True)
    for source in sorted(pathlib.Path(sys.argv[1]).glob("*.csv")):
        draw(source, pictures / f"scale-{source.stem}.svg")


if __name__ == "__main__":
    main()
