#!/usr/bin/env python3
"""Draws the pictures of docs/concepts.md: docs/pictures/draw.py writes them beside itself.

They are plain SVG without scripts or fonts of their own, with a white ground so that they can be read
on a dark page too.
"""

from math import exp, sin
from pathlib import Path

INK, SOFT, FILL, ACCENT = "#222", "#888", "#eef2f7", "#1f6fb2"


class Picture:
    def __init__(self, width, height, title):
        self.parts = [
            f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" width="{width}" '
            f'font-family="sans-serif" font-size="14" role="img"><title>{title}</title>',
            '<defs><marker id="tip" viewBox="0 0 8 8" refX="7" refY="4" markerWidth="7" '
            f'markerHeight="7" orient="auto-start-reverse"><path d="M0 0L8 4L0 8z" fill="{INK}"/>'
            "</marker></defs>",
            f'<rect width="{width}" height="{height}" fill="white"/>',
        ]

    def box(self, x, y, width, height, text="", fill=FILL, note=""):
        self.parts.append(
            f'<rect x="{x}" y="{y}" width="{width}" height="{height}" rx="6" fill="{fill}" stroke="{SOFT}"/>'
        )
        middle = y + height / 2 + 5 - (9 if note else 0)
        if text:
            self.text(x + width / 2, middle, text)
        if note:
            self.text(x + width / 2, middle + 18, note, SOFT, 12)

    def text(self, x, y, text, colour=INK, size=14, anchor="middle"):
        self.parts.append(
            f'<text x="{x:g}" y="{y:g}" fill="{colour}" font-size="{size}" text-anchor="{anchor}">{text}</text>'
        )

    def arrow(self, x1, y1, x2, y2):
        self.parts.append(
            f'<path d="M{x1} {y1}L{x2} {y2}" stroke="{INK}" fill="none" marker-end="url(#tip)"/>'
        )

    def curve(self, points, colour=INK, width=1.5, dashes=""):
        path = "M" + "L".join(f"{x:.1f} {y:.1f}" for x, y in points)
        dashed = f' stroke-dasharray="{dashes}"' if dashes else ""
        self.parts.append(
            f'<path d="{path}" stroke="{colour}" stroke-width="{width}" fill="none"{dashed}/>'
        )

    def dot(self, x, y, colour=ACCENT):
        self.parts.append(f'<circle cx="{x:.1f}" cy="{y:.1f}" r="4.5" fill="{colour}"/>')

    def write(self, name):
        text = "\n".join([*self.parts, "</svg>"]) + "\n"
        (Path(__file__).parent / f"{name}.svg").write_text(text)


def islands():
    picture = Picture(720, 330, "Islands keep pools and send instances to blocks")
    for k, x in enumerate((20, 380)):
        picture.parts.append(
            f'<rect x="{x}" y="20" width="320" height="290" rx="10" fill="none" stroke="{SOFT}" '
            'stroke-dasharray="5 4"/>'
        )
        picture.text(x + 14, 44, f"island {k + 1}", SOFT, 13, "start")
        picture.box(x + 20, 60, 130, 80, "pool", note="ranked solutions")
        picture.box(x + 170, 60, 130, 80, "generator", note="Cross, Mutation, …")
        picture.arrow(x + 150, 100, x + 169, 100)
        for j in range(3):
            picture.box(x + 20 + 100 * j, 230, 80, 50, f"block {3 * k + j + 1}")
        picture.arrow(x + 235, 141, x + 235, 228)
        picture.text(x + 245, 178, "instance", INK, 13, "start")
        picture.text(x + 245, 195, "with a rule", SOFT, 12, "start")
        picture.arrow(x + 85, 229, x + 85, 142)
        picture.text(x + 95, 190, "result", INK, 13, "start")
    picture.arrow(342, 85, 378, 85)
    picture.arrow(378, 115, 342, 115)
    picture.text(360, 75, "AllBest", SOFT, 12)
    picture.write("islands")


def energy(t):
    """A bumpy slope with a few valleys, t from 0 to 1."""
    return 60 + 130 * t * exp(-2.2 * t) - 42 * t + 17 * sin(19 * t + 1) + 6 * sin(47 * t)


def block():
    picture = Picture(720, 280, "What a block does with an instance: walk, descent, search")
    left, width, base = 60, 620, 245
    def at(t):
        return left + width * t, base - 1.75 * energy(t)
    picture.curve([at(k / 400) for k in range(401)], SOFT, 1.5)
    picture.text(26, 60, "energy", SOFT, 13)
    picture.text(400, 270, "solutions, neighbours one flip apart", SOFT, 13)
    valleys = [k / 400 for k in range(1, 400)
               if energy((k - 1) / 400) > energy(k / 400) < energy((k + 1) / 400)]
    start, first, best = 0.085, min(valleys, key=lambda t: abs(t - 0.24)), min(valleys, key=energy)
    for t, name, colour, below in ((0, "current", SOFT, 20), (start, "instance", ACCENT, -14),
                                   (first, "local minimum", ACCENT, 20),
                                   (best, "result: the best on the way", "#b2321f", 20)):
        x, y = at(t)
        picture.dot(x, y, colour)
        picture.text(x + (18 if below < 0 else 0), y + below, name, INK, 12)
    picture.curve([at(start * k / 60) for k in range(61)], SOFT, 2.5, "2 3")
    picture.text(at(0.04)[0], 30, "walk", SOFT, 13)
    picture.curve([at(start + (first - start) * k / 60) for k in range(61)], ACCENT, 2.5)
    picture.curve([at(first + (best - first) * k / 200) for k in range(201)], "#b2321f", 2.5, "6 3")
    picture.text(at(0.17)[0], 30, "descent", ACCENT, 13)
    picture.text(at(0.55)[0], 30, "search: a step is one flip, uphill too", "#b2321f", 13)
    picture.write("block")


def bands():
    picture = Picture(720, 190, "A model is solved by the smallest band that holds it")
    sizes = (64, 128, 192, 256, 384, 512)
    for k, size in enumerate(sizes):
        picture.box(20 + 92 * k, 110, 84, 44, f"{size}", "#fbe9d7" if size == 384 else FILL)
    picture.text(20 + 92 * 6 + 20, 137, "… 65536", INK, 14, "start")
    picture.text(360, 180, "bands, by their greatest number of variables", SOFT, 13)
    picture.box(280, 20, 200, 44, "a model of 300 variables", "white")
    picture.arrow(400, 65, 428, 108)
    picture.text(440, 90, "84 variables are fillers", SOFT, 12, "start")
    picture.write("bands")


def restarts():
    picture = Picture(720, 190, "Restart periods grow; pools are emptied between them")
    left, y, scale = 30, 90, 42.0
    start = 0.0
    for k, length in enumerate((1, 2, 4, 8)):
        x = left + scale * start
        picture.box(x + 1, y - 30, scale * length - 3, 60)
        picture.curve([(x + 1 + (scale * length - 3) * t / 40,
                        y + 22 - 46 * exp(-4 * length * t / 40) / (1 + 0.15 * k)) for t in range(41)],
                      ACCENT, 2)
        picture.text(x + scale * length / 2, y + 50, f"{length} s", INK, 13)
        picture.text(x, y - 38, "restart" if k else "begin", SOFT, 12, "start")
        start += length
    picture.text(left + 300, y + 85, "each period is twice as long as the one before; the best of all is kept", SOFT, 13)
    picture.write("restarts")


def rooms():
    picture = Picture(720, 300, "From a problem to its result")
    picture.box(20, 30, 140, 60, "problem", "white", "file, matrix, pairs")
    picture.box(200, 30, 140, 60, "presolve", note="exact reductions")
    picture.box(380, 30, 140, 60, "what is left", "white", "smaller, or nothing")
    picture.box(300, 150, 140, 60, "library", note="150 bands")
    picture.box(500, 150, 140, 60, "companion", note="parts and groups")
    picture.box(300, 230, 340, 50, "best solution", "white", "restored, rescored")
    picture.box(20, 230, 200, 50, "result", "white", "energy, bound, status")
    picture.arrow(160, 60, 198, 60)
    picture.arrow(340, 60, 378, 60)
    picture.arrow(430, 91, 390, 148)
    picture.arrow(480, 91, 545, 148)
    picture.arrow(441, 172, 499, 172)
    picture.arrow(499, 190, 441, 190)
    picture.arrow(370, 211, 370, 229)
    picture.arrow(570, 211, 570, 229)
    picture.arrow(299, 255, 222, 255)
    picture.arrow(240, 91, 110, 229)
    picture.text(150, 150, "nothing is left:", SOFT, 12, "end")
    picture.text(150, 166, "proven", SOFT, 12, "end")
    picture.write("rooms")


if __name__ == "__main__":
    for draw in (islands, block, bands, restarts, rooms):
        draw()
