"""The table of measurements, each value computed once more from the points that stand in the outputs."""
import csv
import io
import re

import numpy

from archives import *
from scenarios import *

SPACINGS = {"1.1": ("PixelSpacing", [0.5, 1.24]), "1.2": ("ImagerPixelSpacing", [0.4, 0.8]),
            "1.3": ("PixelSpacing", [0.7, 1.1])}  # of images; that of the others is told by the states
FORMULA = "pixel 9 9\nruler_x 1 r 3 4 0 1 3 4 9 9|6 8 =5+mm%22%0A 1\nskewoval_x 1 r 9 9 0 0 9 9 9 9|5 4 a nan\npixel 2 3"
UNITS = {"mm": ("length_mm", 1), "cm2": ("area_mm2", 100), "deg": ("angle_deg", 1)}


def measured(kind, points, row, column):
    z, found = points @ [column, 1j * row], {}
    if kind == "ruler":
        found = dict(length=abs(z[1] - z[0]))
    elif kind in ("angle", "cobangle"):
        turn = abs(numpy.angle((z[0] - z[1]) / (z[2] - z[1 if kind == "angle" else 3]), deg=True))
        found = dict(angle=turn if kind == "angle" else min(turn, 180 - turn))
    elif kind == "free":
        ends = numpy.roll(z, -1)
        found = dict(length=abs(ends - z).sum(), area=abs((z.conj() * ends).imag.sum()) / 2)
    elif kind.endswith(("oval", "houns")) and numpy.isfinite(z).all():
        axes = numpy.linalg.svd([[d.real, d.imag] for d in (z[0] - z[1], z[2] - z[3])])[1]
        found = dict(major_axis=axes[0], minor_axis=axes[1], area=axes.prod() * numpy.pi / 4)
    return found


def drawn(rows, output):
    """The points that the output has for each row: no helper lines, nor the head of a pointer or the end of an outline."""
    item = output.get("GraphicAnnotationSequence", [{}])[0]
    lines = [numpy.reshape(graphic.GraphicData, (-1, 2)) for graphic in item.get("GraphicObjectSequence", [])
             if "LineStyleSequence" not in graphic]
    for kind in (row["kind"] for row in rows):
        points = numpy.zeros((0, 2)) if kind == "text" else lines.pop(0)
        if kind == "cobangle" or kind == "freepointer" and (points[0] != points[1]).any():
            points = numpy.concatenate([points, lines.pop(0)])
        yield points[:{"spinelabel": 1, "freepointer": 2, "free": -1}.get(kind, len(points))]
    expect(not lines, f"more graphics than rows: {lines}")


def difference(row, points):
    """How the number in the label differs from what the points measure, per cent; None where one is missing."""
    known = [float(row["row_spacing_mm"]), float(row["column_spacing_mm"])]
    name, spacing = SPACINGS.get(row["image"][-3:], ("state", known))
    expect(spacing == known and row["spacing"] == {"PixelSpacing": "patient", "ImagerPixelSpacing": "detector"}.get(
        name, name), row)
    mm, px = measured(row["kind"], points, *known), measured(row["kind"], points, 1, 1)
    wanted = {f"{name}_{dict(angle='deg', area='mm2').get(name, 'mm')}": value for name, value in mm.items()}
    wanted.update({f"{name}_px{'2' * (name == 'area')}": px[name] for name in ("length", "area") if name in px})
    number = re.search(r"([\d.]+) (mm|cm2|deg)", row["label"])
    column, factor = UNITS[number[2]] if number else ("", 1)
    if column in wanted:
        label = float(number[1]) * factor
        wanted.update(label_number=label, difference=(wanted[column] - label) / label * 100)
    found = {name: float(row[name]) for name in list(row)[10:20] if row[name] and name != "label_unit"}
    expect(found.keys() == wanted.keys() and all(numpy.isclose(found[name], wanted[name], 1e-6, 1e-5) for name in found),
           f"{row}: {wanted}")
    return wanted.get("difference")


@scenario("sqlite")
def table_of_measurements(archive, folder, chance):
    own, out = archive.copy(folder / "archive"), folder / "out"
    images = own.folder / "archive/images" / STUDY.decode()
    for path in images.iterdir():
        image = pydicom.dcmread(path)
        del image.PixelSpacing
        setattr(image, *SPACINGS.get(path.name[-3:], ("PixelSpacing", None)))
        image.save_as(path)
    made = file(state(uid=f"{ROOT}90", study=STUDY.decode(), plugin_state=f"label{figure(IMAGE[:-1] + '4', FORMULA)}"))
    more = {"copy": archive.samples[SEVERAL], "made": made, "nothing": odd_states(4)["nothing"]}
    changed, gone, *_ = put_all(folder / "in", {**archive.samples, **more})
    found, command = own.convert(out, folder / "in", status=3), ("report", out, "--format", "csv", "--measurements")
    status, text, said = own.run(*command)
    rows, differences = list(csv.DictReader(io.StringIO(text, newline=""))), []
    for kind, tally in json.loads(own.run("report", out, "--format", "json")[1])["annotations"].items():
        outputs = [row["output"] for row in rows if row["kind"] == kind]
        expect((len(outputs), sum(map(bool, outputs))) == (tally["read"], tally["written"]), f"{kind}: {outputs}")
    for path, output in ((path, output) for path, record in found.items() for output in record["outputs"]):
        dataset = pydicom.dcmread(out / output["file"])
        its_rows = [row for row in rows if (row["input"], row["output"]) == (path, output["file"])]
        keys = [dataset.StudyInstanceUID, dataset.ReferencedSeriesSequence[0].SeriesInstanceUID, output["image"],
                output["frame"], found[path]["instance"], "true" if output.get("duplicate") else ""]
        for row, points in zip(its_rows, drawn(its_rows, dataset), strict=True):
            expect([row[name] for name in ("study", "series", "image", "frame", "state", "duplicate")] == keys, row)
            shown = numpy.array(json.loads(row["points"]), "f")
            expect(row["kind"] == "text" or numpy.array_equal(shown, numpy.float32(points), equal_nan=True), row)
            differences.append(difference(row, shown.astype(float)))
    compared = [value for value in differences if value is not None]
    expect(status == 0 and said.startswith(f"{len(rows)} annotations, {len(compared)} with ") and "; 0 inputs" in said and
           f" {sum(abs(value) > 2 for value in compared)} of these differ" in said, f"{said}: {compared}")
    expect([(row["label"], row["column_spacing_mm"]) for row in rows if row["input"].endswith("made")] ==
           [("'=5 mm\"\n", "3"), ("a", "3")], "a formula, or a later line of the spacing")
    expect(text == own.run(*command, "--images", images, env={**own.env, "REPOSITORY_DICOM_DATA": ""})[1], "--images")
    pathlib.Path(changed).touch()
    os.unlink(gone)
    journal = out / "journal/1-of-1.jsonl"
    journal.write_text(journal.read_text().replace('"outcome":"nothing"', '"outcome":"crashed"'))
    status, text, said = own.run(*command)
    reasons = re.findall("(?m)^annomend-archive: .*/(.*) is left out: (..........)", said)
    expect(sorted(reasons) == [(os.path.basename(changed), "it has cha"), (os.path.basename(gone), "No such fi"),
                               ("nothing", "its conver")] and "; 3 inputs" in said and status == 1 and len(text) > 9000, said)
