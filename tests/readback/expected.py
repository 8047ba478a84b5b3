"""What the converted sample states must hold, typed by hand from the samples' drawings.

OUTPUTS maps the name of a sample state to the objects that its conversion writes. A whole dataset is a dictionary from
keyword to value: sequences are lists of such dictionaries, values of VR FL are numbers, each exactly representable in
single precision, everything else is its text; several values are a tuple. The helpers below only spell out what all
objects have in common.
"""

ROOT = "1.2.826.0.1.7770001.2.11."
STUDY = ROOT + "1.20"
STATE = "1.2.840.10008.5.1.4.1.1.11.1"
CT, MR = "1.2.840.10008.5.1.4.1.1.2", "1.2.840.10008.5.1.4.1.1.4"
EXPLICIT, IMPLICIT = "1.2.840.10008.1.2.1", "1.2.840.10008.1.2"
BIG_ENDIAN, DEFLATED = "1.2.840.10008.1.2.2", "1.2.840.10008.1.2.1.99"

BLOCK = {"(f215,0010)": "PB group A"}
COMMON = dict(
    MediaStorageSOPClassUID=STATE, SOPClassUID=STATE, SpecificCharacterSet="ISO_IR 100", Modality="PR",
    PatientName="Phantom^Torso", PatientID="SAMPLE-1", PatientBirthDate="19700101", PatientSex="O",
    StudyInstanceUID=STUDY, StudyID="20", StudyDate="20200102", StudyTime="101500", StudyDescription="Sample study",
    AccessionNumber="", ReferringPhysicianName="", BodyPartExamined="CHEST",
    SeriesInstanceUID=STUDY + ".9", SeriesNumber="9", SeriesDescription="Annotations",
    Manufacturer="Sample maker", ManufacturerModelName="Sample viewer", DeviceSerialNumber="1", SoftwareVersions="1",
    PresentationCreationDate="20200103", PresentationCreationTime="090000",
    ContentCreatorName="", ContentDescription="")


def line(*points):
    """A polyline through points given as column, row, column, row, ..."""
    return dict(GraphicAnnotationUnits="PIXEL", GraphicDimensions="2", GraphicType="POLYLINE",
                NumberOfGraphicPoints=str(len(points) // 2), GraphicData=points)


def dashed(*points):
    """A grey guide line."""
    style = dict(PatternOnColorCIELabValue=("7748", "33068", "32608"), PatternOnOpacity=0.30000001192092896,
                 PatternOffOpacity=1, LineDashingStyle="DASHED", LinePattern="3855")
    return dict(line(*points), LineStyleSequence=[style])


def ellipse(index, *ends):
    """Both ends of one axis, then of the other; `index` is the figure's."""
    return dict(line(*ends), GraphicType="ELLIPSE", CompoundGraphicInstanceID=index)


def centred(value, anchor, top_left, bottom_right, justification="CENTER"):
    return dict(UnformattedTextValue=value, BoundingBoxTextHorizontalJustification=justification,
                AnchorPointAnnotationUnits="PIXEL", AnchorPoint=anchor, AnchorPointVisibility="N",
                BoundingBoxAnnotationUnits="PIXEL", BoundingBoxTopLeftHandCorner=top_left,
                BoundingBoxBottomRightHandCorner=bottom_right)


def left(value, anchor, bottom_right):
    return centred(value, anchor, anchor, bottom_right, "LEFT")


def area(corner=("256", "256"), mode="SCALE TO FIT", spacing=("1.25", "1.25"), ratio=None):
    """The displayed area; it always begins at column 1, row 1."""
    item = dict(DisplayedAreaTopLeftHandCorner=("1", "1"), DisplayedAreaBottomRightHandCorner=corner,
                PresentationSizeMode=mode, PresentationPixelSpacing=spacing)
    return dict(item, PresentationPixelMagnificationRatio=ratio) if ratio else item


def window(centre, width):
    return dict(SoftcopyVOILUTSequence=[dict(WindowCenter=centre, WindowWidth=width)])


def annotations(graphics, texts):
    """The annotation module; a sequence without items is not there."""
    sequences = dict(GraphicObjectSequence=graphics, TextObjectSequence=texts)
    drawn = {name: items for name, items in sequences.items() if items}
    return drawn and dict(GraphicLayerSequence=[dict(GraphicLayer="ANNLAYER1", GraphicLayerOrder="1")],
                          GraphicAnnotationSequence=[dict(drawn, GraphicLayer="ANNLAYER1")])


def output(uid_end, number, label, image_name, graphics=(), texts=(), view=None, shown=None, rotation="0",
           flip="N", shape="IDENTITY", syntax=EXPLICIT, block=BLOCK):
    """One converted object. `uid_end` follows the root of converted objects, `image_name` is modality and slice."""
    modality, slice_number = image_name.split()
    sop_class, series = {"CT": (CT, STUDY + ".1"), "MR": (MR, STUDY + ".2")}[modality]
    image = dict(ReferencedSOPClassUID=sop_class, ReferencedSOPInstanceUID=f"{series}.{slice_number}",
                 ReferencedFrameNumber="1")
    uid = f"{ROOT}7.{uid_end}"
    return dict(
        COMMON, TransferSyntaxUID=syntax, MediaStorageSOPInstanceUID=uid, SOPInstanceUID=uid, InstanceNumber=number,
        ContentLabel=label, ImageHorizontalFlip=flip, ImageRotation=rotation, PresentationLUTShape=shape,
        ReferencedSeriesSequence=[dict(SeriesInstanceUID=series, ReferencedImageSequence=[image])],
        DisplayedAreaSelectionSequence=[shown or area()], **(view or {}), **annotations(list(graphics), list(texts)),
        **block)


def one_ruler(uid_end, number, label, **kwargs):
    """The drawing that the states of all layouts and syntaxes share."""
    return [output(uid_end, number, label, "CT 3", [line(52, 118, 108, 118)],
                   [centred("70.0 mm", (80, 100), (52, 90), (108, 110))], window("40", "400"), **kwargs)]


OUTPUTS = {
    "annotations-all-kinds": [output(
        "1.20.1", "3701", "ANNOTATIONS_ALL_", "CT 3", [
            line(18, 128, 238, 128),
            line(128, 43, 128, 213),
            line(90, 200, 128, 176, 170, 200),
            line(80, 80, 80, 118, 110, 130),
            dashed(80, 118, 50, 106),
            line(40, 60, 100, 70),
            line(40, 120, 100, 105),
            dashed(70, 65, 20, 90),
            dashed(70, 112, 20, 90),
            line(160, 60, 220, 50),
            line(160, 110, 220, 125),
            dashed(190, 55, 190, 117),
            dashed(160, 110, 100, 95),
            ellipse("7", 160, 120, 112, 120, 136, 152, 136, 88),
            # 30 degrees: the cosine is 0x3F5DB3D7
            ellipse("8", 163.7128143310547, 136, 108.28718566894531, 104,
                    128, 133.8563995361328, 144, 106.14359283447266),
            ellipse("9", 95, 118, 65, 118, 80, 138, 80, 98),
            ellipse("10", 100, 120, 100, 80, 90, 100, 110, 100),
            line(60, 60, 90, 50, 120, 62, 115, 95, 70, 100, 60, 60),
            line(176, 100, 206, 140),
            line(187, 102, 176, 100, 174, 111),
            line(128, 176, 133, 176, 133, 181, 128, 181, 128, 176),
            line(136, 120, 141, 120, 141, 125, 136, 125, 136, 120),
            dashed(50, 30, 139, 123),
        ], [
            centred("275.0 mm", (128, 60), (96, 50), (160, 70)),
            centred("115 deg", (128, 225), (100, 215), (156, 235)),
            centred("112 deg", (60, 150), (32, 140), (88, 160)),
            centred("24 deg", (20, 90), (-4, 80), (44, 100)),
            centred("20.6 cm2", (136, 165), (104, 155), (168, 175)),
            centred("heart", (200, 200), (180, 190), (220, 210)),
            centred("-800.0 HU", (40, 30), (4, 20), (76, 40)),
            centred("mean 12", (100, 230), (72, 220), (128, 240)),
            centred("outline", (200, 20), (172, 10), (228, 30)),
            left("Torso phantom", (10, 10), (114, 30)),
            left("T8", (133, 190), (149, 210)),
            left("heart", (30, 20), (70, 40)),
        ], window("40", "400"))],
    "several-images": [
        output("1.20.2", "7401", "SEVERAL_IMAGES", "CT 1", [line(60, 118, 100, 118)],
               [centred("50.0 mm", (80, 90), (52, 80), (108, 100))], window("-600", "1500")),
        output("2.20.2", "7402", "SEVERAL_IMAGES", "CT 2", [], [left("slice 2", (20, 20), (76, 40))],
               window("40", "350"), shape="INVERSE"),
        output("3.20.2", "7403", "SEVERAL_IMAGES", "MR 1", [
            line(60, 24, 65, 24, 65, 29, 60, 29, 60, 24),
            dashed(28, 34, 63, 27),
            line(57, 52, 62, 52, 62, 57, 57, 57, 57, 52),
            line(55, 80, 60, 80, 60, 85, 55, 85, 55, 80),
            dashed(42, 90, 58, 83),
            line(55, 108, 60, 108, 60, 113, 55, 113, 55, 108),
        ], [
            left("L1", (20, 24), (36, 44)),
            left("L2", (37, 52), (53, 72)),
            left("L3", (34, 80), (50, 100)),
        ], window("350", "700"), area(("128", "192"), spacing=("1.5", "1"))),
        output("4.20.2", "7404", "SEVERAL_IMAGES", "CT 4",
               [line(128, 176, 128, 216), line(136, 184, 128, 176, 120, 184)], [], window("40", "400")),
    ],
    "labels-encoded": [output(
        "1.20.3", "11101", "LABELS_ENCODED", "CT 3", [line(100, 128, 156, 128)], [
            left("90\N{DEGREE SIGN} left", (10, 10), (74, 30)),
            left("one\ntwo three", (10, 40), (82, 80)),
            left("a\n\nbcd", (10, 90), (34, 150)),
            left("2+2=4%", (10, 160), (58, 180)),
            left("pipe| slash/ under_score", (10, 190), (202, 210)),
            left("keep%zz", (120, 40), (176, 60)),
            left("cut", (120, 70), (144, 90)),
            left("a|b", (120, 100), (144, 120)),
            left("C:\\dir", (120, 130), (168, 150)),
            left("%41", (120, 160), (144, 180)),
            left("end", (150, 220), (174, 240)),
            centred("tail\n", (128, 128), (112, 118), (144, 138)),
        ])],
    "unknown-kinds": [output("1.20.4", "14801", "UNKNOWN_KINDS", "CT 2", [line(40, 40, 80, 70)],
                             [centred("62.5 mm", (60, 30), (32, 20), (88, 40))])],
    "image-elsewhere": [output("1.20.5", "18501", "IMAGE_ELSEWHERE", "CT 6", [],
                               [left("elsewhere", (30, 30), (102, 50))])],
    "image-nowhere": [output("2.20.6", "22202", "IMAGE_NOWHERE", "CT 5", [],
                             [left("second figure", (30, 30), (134, 50))])],
    "legacy-layout": one_ruler("1.20.7", "25901", "LEGACY_LAYOUT"),
    "legacy-no-creator": one_ruler("1.20.8", "29601", "LEGACY_NO_CREATO", syntax=IMPLICIT),
    "block-in-slot-11": one_ruler(
        "1.20.9", "33301", "BLOCK_IN_SLOT_11", syntax=BIG_ENDIAN,
        block={"(f215,0010)": "PHANTOM TOOLS", "(f215,0011)": "PB group A", "(f215,1001)": "torso"}),
    "implicit-syntax": one_ruler("1.20.10", "37001", "IMPLICIT_SYNTAX", syntax=IMPLICIT),
    "deflated-syntax": one_ruler("1.20.11", "40701", "DEFLATED_SYNTAX", syntax=DEFLATED),
    "rotated-and-flipped": [
        output(f"{code}.20.12", f"4440{code}", "ROTATED_AND_FLIP", "CT 3", [],
               [left(f"code {code}", (8, 8), (56, 28))], rotation=rotation, flip=flip)
        for code, rotation, flip in ((1, "90", "N"), (2, "180", "N"), (3, "270", "N"), (4, "0", "Y"), (5, "90", "Y"),
                                     (6, "180", "Y"), (7, "270", "Y"))
    ],
    "magnified-and-clipped": [
        output("1.20.13", "48101", "MAGNIFIED_AND_CL", "CT 1", [line(50, 60, 130, 60)],
               [centred("100.0 mm", (90, 80), (58, 70), (122, 90))], shown=area(mode="MAGNIFY", ratio=2.5)),
        output("2.20.13", "48102", "MAGNIFIED_AND_CL", "CT 2", [line(50, 60, 130, 60)],
               shown=area(("200", "180"), "TRUE SIZE", ratio=0.75)),
    ],
    "view-only": [output("1.20.14", "51801", "VIEW_ONLY", "CT 5", view=window("-600", "1500"), shape="INVERSE",
                         shown=area(spacing=("0.488281", "0.5")))],
    "odd-coordinates": [output(
        "1.20.15", "55501", "ODD_COORDINATES", "CT 4", [
            line(-2147483648, 2147483648, -1, 300),
            line(0, 0, -3, -3),
            line(10, -7, -5, -8),
            dashed(-1, -1, 2, -7),
            # -45 degrees: sine and cosine are 0x3F3504F3
            ellipse("4294967295", 148.28427124023438, 61.715728759765625, 91.71572875976562, 118.28427124023438,
                    136.97056579589844, 106.97056579589844, 103.02943420410156, 73.02943420410156),
            line(-12, 34, -12, 34),
            line(100, 100, 100, 100),
            line(0, 0, 30, 40),
            line(11, 2, 0, 0, -2, 11),
        ], [
            centred("off", (-40, -50), (-52, -60), (-28, -40)),
            left("nine", (15, 25), (47, 45)),
        ])],
}
