#!/usr/bin/python3
"""check_picture.py BUILD [STATES [SEED]]: judges the pictures of sample states and of STATES random ones.

Pixels are those of numpy on pydicom's arrays, within what JPEG loses, and at their place; graphics have their ink within
one pixel of that of a second drawing, both ways; texts are the data set's. Compressed images give the same bytes. What has
no picture says why, and leaves what stands under the name. Prints a line for each problem.
"""
import io
import pathlib
import random
import re
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as xml

import numpy
import pydicom
from pydicom.dataset import Dataset
from pydicom.encaps import encapsulate
from PIL import Image

TESTS = pathlib.Path(__file__).parents[1]
sys.path.append(str(TESTS))
from checking import conclude, sample_archive
from second_drawing import View, boxed, ink, rasterised, second_ink, shaded, strays

KINDS = ["POINT", "POLYLINE", "POLYLINE", "INTERPOLATED", "CIRCLE", "ELLIPSE"]
LABELS = {"": ["plain", "<&>\"'", "tab\there"], "ISO_IR 100": ["45°", "Größe"], "ISO_IR 192": ["Größe ő", "два\r\nстроки", "漢字"]}


def item(**values):
    made = Dataset()
    for name, value in values.items():
        setattr(made, name, value)
    return made


def again(dataset):
    """A data set of its own with the same bytes."""
    file = io.BytesIO()
    dataset.save_as(file)
    file.seek(0)
    return pydicom.dcmread(file)


def reference(image, frame=None):
    made = item(ReferencedSOPClassUID=image.SOPClassUID, ReferencedSOPInstanceUID=image.SOPInstanceUID)
    if frame:
        made.ReferencedFrameNumber = frame
    return made


class RandomState:
    """A state over an image: any turn, area, shape of pixels, window, graphics and texts in all units."""

    def __init__(self, chance, image, base):
        self.chance, self.image = chance, image
        self.state = again(base)
        for name in ("GraphicAnnotationSequence", "SoftcopyVOILUTSequence", "SpecificCharacterSet"):
            self.state.pop(name, None)
        self.state.ReferencedSeriesSequence = [item(SeriesInstanceUID="1.2.3", ReferencedImageSequence=[reference(image)])]
        self.charset = chance.choice(list(LABELS))
        if self.charset:
            self.state.SpecificCharacterSet = self.charset
        self.state.ImageRotation, self.state.ImageHorizontalFlip = chance.choice([0, 90, 180, 270]), chance.choice("YN")
        self.state.PresentationLUTShape = chance.choice(["IDENTITY", "INVERSE"])
        low, high = [chance.randint(-20, 40) for _ in "xy"], [side - chance.randint(-20, 40) for side in (image.Columns, image.Rows)]
        area = item(DisplayedAreaTopLeftHandCorner=[low[0], high[1]], DisplayedAreaBottomRightHandCorner=[high[0], low[1]],
                    PresentationSizeMode="SCALE TO FIT")
        name, shape = chance.choice([("PresentationPixelSpacing", [1, 1]), ("PresentationPixelSpacing", ["1.5", "1"]),
                                     ("PresentationPixelAspectRatio", [2, 3])])
        setattr(area, name, shape)
        self.state.DisplayedAreaSelectionSequence = [item(ReferencedImageSequence=[item(ReferencedSOPInstanceUID="1.2")],
                                                          DisplayedAreaTopLeftHandCorner=[1, 1],
                                                          DisplayedAreaBottomRightHandCorner=[9, 9]), area]
        window = item(WindowCenter=str(chance.randint(-300, 300)), WindowWidth=str(chance.randint(200, 900)))
        if chance.random() < 0.6:
            window.VOILUTFunction = chance.choice(["LINEAR", "LINEAR_EXACT", "SIGMOID"])
        if chance.random() < 0.8:
            self.state.SoftcopyVOILUTSequence = [window]
        self.state.GraphicAnnotationSequence = [
            item(GraphicObjectSequence=[self.graphic() for _ in range(9)], TextObjectSequence=[self.text() for _ in range(3)])]

    def points(self, count, units):
        if units == "DISPLAY":
            return [self.chance.random() for _ in range(2 * count)]
        return [self.chance.uniform(-10, side + 10) for _ in range(count) for side in (self.image.Columns, self.image.Rows)]

    def graphic(self):
        kind, units = self.chance.choice(KINDS), self.chance.choice(["PIXEL", "PIXEL", "DISPLAY", "MATRIX"])
        data = self.points({"POINT": 1, "CIRCLE": 2, "ELLIPSE": 4}.get(kind, 5), units)
        if kind in ("POLYLINE", "INTERPOLATED") and self.chance.random() < 0.5:
            data += data[:2]
        made = item(GraphicAnnotationUnits=units, GraphicType=kind, GraphicData=data, GraphicDimensions=2)
        if kind == "POLYLINE" and self.chance.random() < 0.5:
            made.LineStyleSequence = [item(LineDashingStyle="DASHED", LinePattern=self.chance.choice([0x0F0F, 0xFF18, 0x3333]))]
        return made

    def text(self):
        units = self.chance.choice(["PIXEL", "DISPLAY"])
        made = item(UnformattedTextValue=self.chance.choice(LABELS[self.charset]))
        if self.chance.random() < 0.7:
            corners = self.points(2, units)
            made.BoundingBoxAnnotationUnits = units
            made.BoundingBoxTopLeftHandCorner, made.BoundingBoxBottomRightHandCorner = corners[:2], corners[2:]
            made.BoundingBoxTextHorizontalJustification = self.chance.choice(["LEFT", "CENTER", "RIGHT"])
        if "BoundingBoxAnnotationUnits" not in made or self.chance.random() < 0.5:
            made.AnchorPointAnnotationUnits, made.AnchorPoint = units, self.points(1, units)
            made.AnchorPointVisibility = self.chance.choice("YN")
        return made


class Check:
    def __init__(self, folder, environment):
        self.folder, self.environment, self.problems, self.pictures = folder, environment, [], 0

    def run(self, *arguments):
        return subprocess.run(["annomend-archive", "picture", *map(str, arguments)], env=self.environment, text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE)

    def svg(self, *arguments):
        self.pictures += 1
        done = self.run(*arguments, "-o", self.folder / "picture.svg")
        return (self.folder / "picture.svg").read_text() if done.returncode == 0 else done.stderr

    def save(self, dataset, name):
        dataset.save_as(self.folder / name)
        return self.folder / name

    def judge(self, name, state, image, frame=1, tile=(0, 0)):
        """Compares the picture with the second drawing, in the size of the image's own pixels."""
        size = min(round(View(state, image, frame, 1).picture.max() * 400), 4096)
        view = View(state, image, frame, size)
        if len(set(map(float, view.picture / view.whole(numpy.zeros((image.Rows, image.Columns))).shape[1::-1]))) == 1:
            size = int((view.high - view.low).max())
            view = View(state, image, frame, size)
        svg = self.svg(self.save(state, "state"), self.save(image, "image"), "--size", size)
        if not svg.startswith("<?xml"):
            return self.problems.append(f"{name}: {svg}")
        self.pixels(name, svg, view, shaded(state, image, frame))
        if stray := strays(ink(svg, view), second_ink(state, image, frame, view, tile)):
            self.problems.append(f"{name}: {stray} pixels of graphics are not where they belong")
        self.texts(name, svg, view, state, image)

    def pixels(self, name, svg, view, grey):
        """A part that is moved by a pixel is farther from what is expected than one that is not."""
        drawn = rasterised(re.sub(r"<use [^>]*>|<text.*?</text>", "", svg, flags=re.S))
        width, height = (int(round(side)) for side in view.picture)
        seen = view.whole(grey).astype(numpy.uint8)
        seen = numpy.asarray(Image.fromarray(seen).resize((width, height), Image.BILINEAR)).astype(float)
        drawn = drawn[:height, :width, :3 if seen.ndim == 3 else 1].reshape(seen.shape)
        inner = numpy.s_[2:-2, 2:-2]
        off = {(x, y): abs(numpy.roll(drawn, (y, x), (0, 1))[inner] - seen[inner]).mean() for x in (-1, 0, 1) for y in (-1, 0, 1)}
        if off[0, 0] > max(0.1, min(*off.values(), 3.5)):
            self.problems.append(f"{name}: pixels differ by {off[0, 0]:.2f}, nearest when moved by {min(off, key=off.get)}")

    def texts(self, name, svg, view, state, image):
        texts = [t for i in state.get("GraphicAnnotationSequence", []) for t in i.get("TextObjectSequence", [])]
        wanted = [[line.rstrip() for line in t.UnformattedTextValue.rstrip().splitlines()] for t in texts]
        inner = xml.fromstring(svg.encode()).find("{*}svg")
        drawn = [[span for span in text.iter() if span.tag.endswith("tspan")] for text in inner.iter() if text.tag.endswith("}text")]
        if [[(span.text or "").rstrip() for span in lines] for lines in drawn] != wanted:
            return self.problems.append(f"{name}: the texts are not {wanted}")
        for text, lines in zip(texts, drawn):
            x, y = numpy.array([[float(span.get("x")), float(span.get("y"))] for span in lines]).mean(0)
            wanted = view(text.AnchorPoint, text.AnchorPointAnnotationUnits)[0] + [4, 0] \
                if "BoundingBoxTopLeftHandCorner" not in text else self.middle(text, view)
            if abs(x - wanted[0]) > 0.1 or not wanted[1] < y < wanted[1] + 7:
                self.problems.append(f"{name}: the text at {x}, {y} does not belong to {wanted}")
        return None

    @staticmethod
    def middle(text, view):
        """Where the lines of a box begin, end or have their middle, on the box's middle line."""
        corners = numpy.sort(numpy.reshape([*text.BoundingBoxTopLeftHandCorner, *text.BoundingBoxBottomRightHandCorner], (2, 2)), 0)
        box = view(corners, text.BoundingBoxAnnotationUnits)
        upright = text.BoundingBoxAnnotationUnits == "DISPLAY" or view.turns % 2 == 0
        side = {"LEFT": 0, "RIGHT": 1}.get(text.BoundingBoxTextHorizontalJustification if upright else "")
        return [box.mean(0)[0] if side is None else box[side][0], box.mean(0)[1]]

    def compressed(self, state, image, file):
        """What the toolkit and OpenJPEG decode is drawn in the same bytes."""
        plain = self.svg(state, file)
        raw, packed, streams = self.folder / "raw.rawl", self.folder / "packed.j2k", []
        for frame in image.pixel_array.reshape(-1, image.Rows, image.Columns):
            frame.tofile(raw)
            subprocess.run(["opj_compress", "-i", raw, "-o", packed, "-F", f"{image.Columns},{image.Rows},1,16,s"],
                           check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            streams.append(packed.read_bytes())
        jpeg2000 = again(image)
        jpeg2000.PixelData, jpeg2000["PixelData"].is_undefined_length = encapsulate(streams), True
        jpeg2000.file_meta.TransferSyntaxUID = pydicom.uid.JPEG2000Lossless
        self.save(jpeg2000, "jpeg2000")
        commands = {"rle": ["dcmcrle"], "jpeg-ls": ["dcmcjpls"], "jpeg": ["dcmcjpeg", "+e1"], "deflate": ["dcmconv", "+td"],
                    "big-endian": ["dcmconv", "+tb"], "implicit": ["dcmconv", "+ti"]}
        for name, command in commands.items():
            subprocess.run([*command, file, self.folder / name], check=True)
        for name in [*commands, "jpeg2000"]:
            if self.svg(state, self.folder / name) != plain:
                self.problems.append(f"{name}: not the picture of the {len(streams)} frames that are not compressed")
        jpeg2000.PixelData = encapsulate([stream[:5000] for stream in streams])
        self.refuses("cut JPEG 2000", "pixels-unreadable", state, self.save(jpeg2000, "cut"))
        jpeg2000.PixelData, jpeg2000.Rows = encapsulate(streams), image.Rows + 1
        self.refuses("JPEG 2000 of another size", "pixels-unreadable", state, self.save(jpeg2000, "cut"))

    def refuses(self, name, code, *arguments):
        """One line, status 1, and the file stays what it was."""
        kept = self.folder / "kept.svg"
        kept.write_text("kept")
        done = self.run(*arguments, "-o", kept)
        lines = done.stderr.splitlines()
        if done.returncode != 1 or len(lines) != 1 or f": {code}: " not in done.stderr or kept.read_text() != "kept":
            self.problems.append(f"{name}: not {code} but {done.returncode} {lines}")

    def folder_of_all(self, states, bad):
        """A name for each state however files are called; one that is damaged costs itself."""
        done = self.run("--folder", self.folder / "all", states)
        files = sorted(path.name for path in (self.folder / "all").iterdir())
        named = sorted(line.split(": ", 1)[0] for line in done.stdout.splitlines())
        problems = [line for line in done.stderr.splitlines() if ": state-unreadable: " in line]
        if files != named or len(files) + bad != sum(1 for p in states.rglob("*") if p.is_file()) or done.returncode != 1 \
                or len(problems) != bad or not all(re.fullmatch(r"[\w-][\w.-]*\.svg", name) for name in files):
            self.problems.append(f"a folder: {done.returncode}, {len(files)} pictures, {problems}")


def special_images(check, base, image):
    """Images that a toolkit is easily wrong about."""
    state = RandomState(random.Random(1), image, base).state
    state.SoftcopyVOILUTSequence = [item(WindowCenter="40", WindowWidth="400")]
    inverse = again(image)
    inverse.PhotometricInterpretation = "MONOCHROME1"
    check.judge("MONOCHROME1", state, inverse)
    shifted = again(image)
    shifted.PixelData = (image.pixel_array + 1024).astype("<u2").tobytes()
    shifted.PixelRepresentation, shifted.RescaleIntercept = 0, "-1024"
    state.RescaleSlope, state.RescaleIntercept, state.RescaleType = "1", "-1024", "HU"
    check.judge("rescaled by the state", state, shifted)
    without = again(state)
    for name in ("SoftcopyVOILUTSequence", "RescaleSlope", "RescaleIntercept", "RescaleType"):
        without.pop(name)
    check.judge("window and rescale of the image", without, shifted)
    del shifted.WindowCenter, shifted.WindowWidth
    check.judge("no window at all", without, shifted)
    frames = again(image)
    frames.NumberOfFrames = 4
    frames.PixelData = b"".join(numpy.roll(image.pixel_array, 30 * i, 1).tobytes() for i in range(4))
    state.ReferencedSeriesSequence[0].ReferencedImageSequence = [reference(image, [3, 1])]
    del state.RescaleSlope, state.RescaleIntercept
    state.SoftcopyVOILUTSequence.insert(0, item(ReferencedImageSequence=[reference(image, [1, 2])], WindowCenter="0", WindowWidth="9"))
    check.judge("frame 3 of 4", state, frames, 3)
    check.compressed(check.folder / "state", frames, check.save(frames, "frames"))
    frames.TotalPixelMatrixColumns, frames.TotalPixelMatrixRows, frames.DimensionOrganizationType = 400, 400, "TILED_FULL"
    check.judge("a tile", state, frames, 3, (0, image.Rows))
    colour = again(image)
    colour.SamplesPerPixel, colour.PhotometricInterpretation, colour.PlanarConfiguration = 3, "RGB", 0
    colour.BitsAllocated = colour.BitsStored = 8
    colour.HighBit, colour.PixelRepresentation = 7, 0
    planes = [shaded(state, image, 9), shaded(state, image, 9)[::-1], numpy.full(image.pixel_array.shape, 90)]
    colour.PixelData = numpy.stack(planes, 2).astype(numpy.uint8).tobytes()
    state.ReferencedSeriesSequence[0].ReferencedImageSequence = [reference(image)]
    state.GraphicAnnotationSequence = []
    check.judge("colours", state, colour)
    tables = again(state)
    entries = (65535 * numpy.linspace(0, 1, 300) ** 2).astype("<u2").tobytes()
    tables.SoftcopyVOILUTSequence = [item(VOILUTSequence=[item(LUTDescriptor=[300, 0, 16], LUTData=entries)])]
    del tables.PresentationLUTShape
    tables.PresentationLUTSequence = [item(LUTDescriptor=[256, 0, 16], LUTData=(numpy.arange(256) ** 2)[::-1].astype("<u2").tobytes())]
    check.judge("tables", tables, image)


def main():
    chance = random.Random(sys.argv[3] if len(sys.argv) > 3 else "seed")
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        check = Check(folder, sample_archive(sys.argv[1], folder / "archive"))
        subprocess.run(["annomend-archive", "convert", "-o", folder / "out", folder / "archive/states", "--progress", "none"],
                       env=check.environment, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        files = {path.name.split(".", 1)[1]: path for path in (folder / "archive").glob("images/*/*.*")}
        images = {uid: pydicom.dcmread(path) for uid, path in files.items()}
        states = {path: pydicom.dcmread(path) for path in sorted((folder / "out").glob("*/PR.*"))}
        for path, state in states.items():
            uid = state.ReferencedSeriesSequence[0].ReferencedImageSequence[0].ReferencedSOPInstanceUID
            if uid in images:
                check.judge(path.name, state, images[uid])
            else:
                check.refuses(path.name, "image-not-found", path)
        torso, spine = (next(i for i in images.values() if i.Modality == modality) for modality in ("CT", "MR"))
        base = next(iter(states.values()))
        for number in range(int(sys.argv[2]) if len(sys.argv) > 2 else 30):
            image = chance.choice([torso, spine])
            check.judge(f"random {number}", RandomState(chance, image, base).state, image)
        special_images(check, base, torso)
        first = next(path for path in states if path.name.endswith("7.1.20.1"))
        file = files[states[first].ReferencedSeriesSequence[0].ReferencedImageSequence[0].ReferencedSOPInstanceUID]
        check.compressed(first, pydicom.dcmread(file), file)
        check.refuses("another image", "image-not-referenced", first, files[spine.SOPInstanceUID])
        mixed = folder / "mixed"
        (mixed / "sub").mkdir(parents=True)
        for number, path in enumerate(list(states)[:4]):
            if number != 3:
                for odd in ("PR.1", "sub/PR.1", "ümlaut\n'<x>'", ".hidden"):
                    (mixed / f"{odd}{'' if number == 0 else number}").write_bytes(path.read_bytes())
        (mixed / "damaged").write_bytes(first.read_bytes()[:900])
        check.folder_of_all(mixed, 1)
        return conclude(check.problems, f"{check.pictures} pictures judged")


if __name__ == "__main__":
    sys.exit(main())
