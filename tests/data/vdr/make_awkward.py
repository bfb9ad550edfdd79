#!/usr/bin/env python3
"""Writes the awkward parameter files of this folder.

good_all.vdr and good_sel.vdr are what the editor writes for a 50 ms table
(5 frames of 10 ms) with anchors at f0 0, f0 4 and f1 2. Every other file is
one of them damaged in one way; the reader test lists what each must give.
written/ holds what the editor writes for its default document.
Run it from this folder; the output is committed, so the test does not need
Python.
"""

import os

NAMES = ("f0 av ah af tl f8 f7 f6 f5 f4 f3 f2 f1 b8 b7 b6 b5 b4 b3 b2 b1 ab "
         "a8f a7f a6f a5f a4f a3f a2f a1f b8f b7f b6f b5f b4f b3f b2f b1f "
         "fnz bnz fnp bnp oq anv apv atu skew gain").split()
DEFAULTS = [1000, 60, 0, 0, 0, 7500, 6500, 4990, 3700, 3250, 2500, 1500, 500,
            600, 500, 500, 200, 200, 150, 90, 60, 0, 30, 30, 30, 30, 30, 30, 30,
            30, 1500, 1500, 1500, 500, 350, 320, 250, 180, 280, 90, 280, 90, 20,
            0, 0, 40, 0, 60]
SHOWN = [1, 1, 1, 1, 1, 0, 0, 0, 1, 1, 1, 1, 1, 0, 0, 0, 1, 1, 1, 1, 1, 1, 0,
         0, 0, 1, 1, 1, 1, 1, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1, 1, 0, 0, 1, 0,
         0, 0]
COLOURS = [255, 255, 255] * 8 + [255, 200, 120, 180, 210, 255]
# The editor's own colours: one light tint per parameter group, then the
# anchor and selection colours.
EDITOR_COLOURS = [255, 245, 170, 204, 238, 196, 196, 232, 240, 224, 224, 224,
                  248, 208, 228, 218, 210, 248, 236, 226, 200, 255, 255, 255,
                  255, 200, 120, 180, 210, 255]
FRAMES = 5


def line(values):
    return "".join(f"{v}\t" for v in values) + "\r\n"


def ten_per_line(values):
    out = ""
    for i, v in enumerate(values, 1):
        out += f"{v}\t"
        if i % 10 == 0:
            out += "\r\n"
    return out + "\r\n"


def table_value(row, frame):
    if NAMES[row] == "f0":
        return 1200 - 50 * frame          # a falling pitch
    if NAMES[row] == "f1":
        return 300 + 100 * frame
    return DEFAULTS[row]


def vdr(selected_only, anchors=("f0,0", "f0,4", "f1,2"), count=None,
        timing=(50, 11025, 10), settings=None, rows=None, frames=FRAMES,
        value=table_value, colours=COLOURS):
    rows = rows if rows is not None else [r for r in range(48)
                                          if not selected_only or SHOWN[r]]
    count = len(anchors) if count is None else count
    settings = settings or [1, count, 0, 0, 0, 0, 0, 0, 0, 50]
    text = line(timing) + line(settings) + line(colours) + ten_per_line(SHOWN)
    if count > 0:
        text += ten_per_line(anchors)
    text += line(NAMES[r] for r in rows)
    for f in range(frames):
        text += line(value(r, f) for r in rows)
    return text


def write(name, text):
    with open(name, "wb") as f:
        f.write(text.encode("latin-1"))


# What the editor writes for its default document (20 frames of defaults, no
# anchors): the writer test compares against these and builds its anchor
# cases from them.
os.makedirs("written", exist_ok=True)
for kind, selected_only in (("all", False), ("sel", True)):
    write(f"written/default_{kind}.vdr", vdr(selected_only, anchors=(), timing=(200, 11025, 10),
                                              frames=20, value=lambda r, f: DEFAULTS[r],
                                              colours=EDITOR_COLOURS))

good = vdr(False)
sel = vdr(True)
write("good_all.vdr", good)
write("good_sel.vdr", sel)
lines = good.split("\r\n")

# Accepted: what a spreadsheet may do to a file.
write("ok_lf_endings.vdr", good.replace("\r\n", "\n"))
write("ok_no_final_tabs.vdr", good.replace("\t\r\n", "\r\n"))
write("ok_trailing_empty_lines.vdr", good + "\r\n\r\n")
write("ok_fractions.vdr", good.replace("\t1000\t", "\t1000.0\t").replace("1200\t", "1200.75\t"))
write("ok_padded_tabs.vdr", good.replace("\t\r\n", "\t\t\t\r\n"))
write("ok_cr_endings.vdr", good.replace("\r\n", "\r"))
write("ok_byte_order_mark.vdr", "\xef\xbb\xbf" + good)
write("ok_no_final_line_end.vdr", good[:-2])
write("ok_blanks_around_values.vdr", good.replace("\t", " \t "))
write("ok_plus_signs.vdr", good.replace("\t60\t", "\t+60\t"))

# Refused: "File type not recorgnized."
write("empty.vdr", "")
write("text.vdr", "This is not a parameter file.\r\nIt has words in it.\r\n")
write("binary.vdr", "".join(chr((i * 37 + 11) % 256) for i in range(300)))
for n, what in ((1, "timing"), (2, "settings"), (3, "colours"), (6, "flags"),
                (9, "anchors"), (10, "header"), (13, "data")):
    write(f"truncated_after_{what}.vdr", "\r\n".join(lines[:n]) + "\r\n")
write("truncated_mid_line.vdr", good[: good.index("\r\n", 400) - 7])
write("timing_two_values.vdr", vdr(False, timing=(50, 11025)))
write("timing_zero_interval.vdr", vdr(False, timing=(50, 11025, 0)))
write("settings_nine_values.vdr", good.replace("0\t0\t0\t0\t0\t0\t0\t50\t", "0\t0\t0\t0\t0\t0\t50\t", 1))
write("method_two.vdr", vdr(False, settings=[2, 3, 0, 0, 0, 0, 0, 0, 0, 50]))
write("colour_256.vdr", good.replace("255\t200\t120", "256\t200\t120", 1))
flags = ten_per_line(SHOWN)
write("flag_two.vdr", good.replace(flags, flags.replace("1\t", "2\t", 1), 1))
write("flags_eleven_on_a_line.vdr", good.replace(flags, flags.replace("\t\r\n", "\t1\t\r\n", 1), 1))
write("anchor_f0_x.vdr", vdr(False, anchors=("f0,0", "f0,x", "f1,2")))
write("anchor_without_column.vdr", vdr(False, anchors=("f0,0", "f0,", "f1,2")))
write("header_unknown_name.vdr", good.replace("\tskew\t", "\tskw\t", 1))
write("header_name_twice.vdr", vdr(False, rows=[0, 1, 1]).replace("\tav\t\r\n", "\tav\t\r\n", 1))
write("data_short_line.vdr", good.replace("\t60\t\r\n", "\t\r\n", 1))
write("data_long_line.vdr", good.replace("\t60\t\r\n", "\t60\t61\t\r\n", 1))
write("data_missing_line.vdr", "\r\n".join(lines[:-2]) + "\r\n")
write("data_extra_line.vdr", good + lines[-2] + "\r\n")
write("data_not_a_number.vdr", good.replace("\t7500\t", "\tabc\t", 1))
write("data_twenty_digits.vdr", good.replace("\t7500\t", "\t12345678901234567890\t", 1))
write("data_beyond_32_bits.vdr", good.replace("\t7500\t", "\t2147483648\t", 1))
write("data_exponent.vdr", good.replace("\t7500\t", "\t7.5e3\t", 1))
write("data_empty_field.vdr", good.replace("\t7500\t", "\t\t", 1))

# Refused: "Wrong number of anchor cells in file. ..."
write("anchor_count_high.vdr", vdr(False, count=4))
write("anchor_count_low.vdr", vdr(False, count=2))
write("anchor_count_zero_with_entries.vdr",
      vdr(False, count=1).replace("\t1\t0\t0\t0\t0\t0\t0\t0\t50", "\t0\t0\t0\t0\t0\t0\t0\t0\t50", 1))
write("anchor_zz_3.vdr", vdr(False, anchors=("f0,0", "zz,3", "f1,2")))
write("anchor_column_beyond.vdr", vdr(False, anchors=("f0,0", "f0,5", "f1,2")))
write("anchor_column_negative.vdr", vdr(False, anchors=("f0,0", "f0,-1", "f1,2")))
write("anchor_twice.vdr", vdr(False, anchors=("f0,0", "f0,0", "f1,2")))
