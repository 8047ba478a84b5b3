"""A second drawing of a presentation state, from pydicom's values alone, and what librsvg makes of an SVG."""
import io
import math
import re
import subprocess

import numpy
from PIL import Image

INK = 90  # least difference between red and blue


def applies(item, uid, frame):
    """Whether an item of a state holds for a frame of an image (PS3.3 C.10.5)."""
    images = item.get("ReferencedImageSequence")
    return not images or any(i.ReferencedSOPInstanceUID == uid and frame in numbers(i.get("ReferencedFrameNumber", frame))
                             for i in images)


def numbers(value):
    return [float(number) for number in numpy.atleast_1d(value)]


class View:
    """Where the points of an image are seen: shares of the displayed area, turned and flipped, times the picture."""

    def __init__(self, state, image, frame, size):
        area = next(i for i in state.DisplayedAreaSelectionSequence if applies(i, image.SOPInstanceUID, frame))
        corners = numpy.array([area.DisplayedAreaTopLeftHandCorner, area.DisplayedAreaBottomRightHandCorner], float)
        self.low, self.high = corners.min(0) - 1, corners.max(0)
        shape = area.get("PresentationPixelSpacing") or area.get("PresentationPixelAspectRatio") or [1, 1]
        self.turns, self.flip = int(state.get("ImageRotation", 0)) // 90, state.get("ImageHorizontalFlip") == "Y"
        seen = (self.high - self.low) * [float(shape[1]), float(shape[0])]
        self.picture = (seen[::-1] if self.turns % 2 else seen) * size / seen.max()

    def __call__(self, points, units="PIXEL", tile=(0, 0)):
        points = numpy.asarray(points, float).reshape(-1, 2)
        if units == "DISPLAY":
            return points * self.picture
        share = (points - (tile if units == "MATRIX" else 0) - self.low) / (self.high - self.low)
        for _ in range(self.turns):
            share = numpy.stack([1 - share[:, 1], share[:, 0]], 1)
        if self.flip:
            share[:, 0] = 1 - share[:, 0]
        return share * self.picture

    def whole(self, pixels):
        """The pixels of an image as they are seen, one for each; black beyond the image."""
        left, top, right, bottom = (int(v) for v in (*self.low, *self.high))
        seen = numpy.zeros((bottom - top, right - left, *pixels.shape[2:]))
        rows, columns = slice(max(top, 0), min(bottom, pixels.shape[0])), slice(max(left, 0), min(right, pixels.shape[1]))
        seen[rows.start - top:rows.stop - top, columns.start - left:columns.stop - left] = pixels[rows, columns]
        seen = numpy.rot90(seen, -self.turns)
        return seen[:, ::-1] if self.flip else seen


def looked_up(table, values):
    length, first, bits = (int(v) for v in table.LUTDescriptor)
    entries = numpy.frombuffer(table.LUTData, "<u2") if isinstance(table.LUTData, bytes) else numpy.array(table.LUTData)
    return entries[numpy.clip(values - first, 0, len(entries) - 1).astype(int)] / (2 ** bits - 1)


def shaded(state, image, frame):
    """Grey values from 0 to 255 (PS3.3 C.11.2.1.2)."""
    values = image.pixel_array.astype(float)
    values = values[frame - 1] if int(image.get("NumberOfFrames", 1)) > 1 else values
    if image.SamplesPerPixel > 1:
        return values
    voi = next((i for i in state.get("SoftcopyVOILUTSequence", []) if applies(i, image.SOPInstanceUID, frame)), None)
    where = state if voi is not None else image
    values = values * float(where.get("RescaleSlope", 1)) + float(where.get("RescaleIntercept", 0))
    window = voi if voi is not None else image
    if "VOILUTSequence" in window:
        share = looked_up(window.VOILUTSequence[0], values)
    elif "WindowWidth" not in window:
        low, high = values.min(), values.max()
        share = (values - low) / (high - low)
    else:
        center, width = numbers(window.WindowCenter)[0], numbers(window.WindowWidth)[0]
        if window.get("VOILUTFunction") == "SIGMOID":
            share = 1 / (1 + numpy.exp(-4 * (values - center) / width))
        elif window.get("VOILUTFunction") == "LINEAR_EXACT":
            share = (values - center) / width + 0.5
        else:
            share = (values - (center - 0.5)) / (width - 1) + 0.5
    share = numpy.clip(share, 0, 1)
    if "PresentationLUTSequence" in state:
        table = state.PresentationLUTSequence[0]
        share = looked_up(table, numpy.round(share * (len(table.LUTData) // 2 - 1)))
    elif state.PresentationLUTShape == "INVERSE":
        share = 1 - share
    return 255 * share


def strokes(graphic, view, tile):
    """Lines of the picture: how they end, and many points of each."""
    units, kind = graphic.GraphicAnnotationUnits, graphic.GraphicType
    data = numpy.asarray(graphic.GraphicData, float).reshape(-1, 2)
    turn = numpy.linspace(0, 2 * math.pi, 400)[:, None]
    around = numpy.hstack([numpy.cos(turn), numpy.sin(turn)])
    if kind == "ELLIPSE":
        halves = numpy.array([data[1] - data[0], data[3] - data[2]]) / 2
        return [("round", view((data[0] + data[1]) / 2 + around @ halves, units, tile))]
    points = view(data, units, tile)
    if kind == "CIRCLE":
        return [("round", points[0] + around * math.dist(*points))]
    if kind == "POINT":
        return [("round", points[0] + around * radius) for radius in (0.5, 1, 2)]
    if kind == "INTERPOLATED":
        last, closed = len(points) - 1, (data[0] == data[-1]).all()
        at = lambda i: points[i % last if closed else min(max(i, 0), last)]
        t = numpy.linspace(0, 1, 60)[:, None]
        curve = [(2 * t**3 - 3 * t**2 + 1) * at(i) + (t**3 - 2 * t**2 + t) * (at(i + 1) - at(i - 1)) / 2
                 + (3 * t**2 - 2 * t**3) * at(i + 1) + (t**3 - t**2) * (at(i + 2) - at(i)) / 2 for i in range(last)]
        return [("round", numpy.concatenate(curve))]
    style = graphic.get("LineStyleSequence")
    if style and style[0].LineDashingStyle == "DASHED":
        return [("butt", piece) for piece in dashed(points, style[0].LinePattern)]
    return [("round", points)]


def dashed(points, pattern):
    """What a pattern of sixteen bits, each as long as the picture's pixels, leaves of a line."""
    ends = numpy.concatenate([[0], numpy.cumsum(numpy.hypot(*numpy.diff(points, axis=0).T))])
    steps = numpy.append(numpy.arange(0, ends[-1], 0.125), ends[-1])
    off = [i for i, step in enumerate(steps) if not pattern >> (15 - int(step) % 16) & 1]
    dots = numpy.stack([numpy.interp(steps, ends, points[:, axis]) for axis in (0, 1)], 1)
    return [piece for piece in (dots[a + 1:b + 1] for a, b in zip([-1, *off], [*off, len(dots)])) if len(piece) > 1]


def rasterised(svg):
    """Red, green and blue, as librsvg draws it."""
    png = subprocess.run(["rsvg-convert"], input=svg.encode(), stdout=subprocess.PIPE, check=True).stdout
    return numpy.asarray(Image.open(io.BytesIO(png)).convert("RGB")).astype(float)


def ink(svg, view, without=r"<image [^>]*>|<text.*?</text>"):
    colours = rasterised(re.sub(without, "", svg, flags=re.S))[:round(view.picture[1]), :round(view.picture[0])]
    return colours[..., 0] - colours[..., 2] > INK


def second_ink(state, image, frame, view, tile=(0, 0)):
    lines = [stroke for item in state.get("GraphicAnnotationSequence", []) if applies(item, image.SOPInstanceUID, frame)
             for graphic in item.get("GraphicObjectSequence", []) for stroke in strokes(graphic, view, tile)]
    for item in state.get("GraphicAnnotationSequence", []):  # from an anchor to the nearest side of its box
        for text in item.get("TextObjectSequence", []) if applies(item, image.SOPInstanceUID, frame) else []:
            if text.get("AnchorPointVisibility") == "Y" and "BoundingBoxTopLeftHandCorner" in text:
                box, anchor = boxed(text, view, tile), view(text.AnchorPoint, text.AnchorPointAnnotationUnits, tile)[0]
                lines.append(("round", numpy.array([anchor, numpy.clip(anchor, box.min(0), box.max(0))])))
    paths = "".join('<polyline stroke-linecap="%s" points="%s"/>'
                    % (cap, " ".join("%f,%f" % tuple(p) for p in numpy.clip(line, -9e4, 9e4)))
                    for cap, line in lines if numpy.isfinite(line).all())
    width, height = numpy.round(view.picture)
    return ink(f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{height}"><rect width="100%" '
               f'height="100%"/><g fill="none" stroke="#ffd800" stroke-width="1.5" stroke-linejoin="round">{paths}</g></svg>',
               view)


def boxed(text, view, tile):
    return view([*text.BoundingBoxTopLeftHandCorner, *text.BoundingBoxBottomRightHandCorner],
                text.BoundingBoxAnnotationUnits, tile)


def strays(first, second):
    """Pixels of either that have none of the other within one pixel; at the border that may lie beyond it."""
    def spread(mask):
        wide = numpy.pad(mask, 1)
        return sum(wide[y:y + mask.shape[0], x:x + mask.shape[1]] for x in range(3) for y in range(3)) > 0
    return int(((first & ~spread(second)) | (second & ~spread(first)))[1:-1, 1:-1].sum())
