"""Encodes data sets and files (PS3.5 7, PS3.10 7), also such as no honest writer makes. All is explicit VR little endian,
in a deflated file too."""
import struct
import zlib

EXPLICIT, DEFLATED = "1.2.840.10008.1.2.1", "1.2.840.10008.1.2.1.99"
GSPS, CT = "1.2.840.10008.5.1.4.1.1.11.1", "1.2.840.10008.5.1.4.1.1.2"
STATE, STUDY, IMAGE = "1.2.826.0.1.7770001.2.11.4.5", "1.2.826.0.1.7770001.2.11.1.20", "1.2.3.4"
UNDEFINED = 0xFFFFFFFF
ITEM, EMPTY_ITEM, ITEM_END, SEQUENCE_END = (struct.pack("<HHI", 0xFFFE, number, length) for number, length in
                                            ((0xE000, UNDEFINED), (0xE000, 0), (0xE00D, 0), (0xE0DD, 0)))


def element(group, number, vr, value=b"", length=None):
    """`length` stands in place of the true one where it is given."""
    value = value.encode("latin-1") if isinstance(value, str) else value
    value += b"\0" * (len(value) % 2)
    length = len(value) if length is None else length
    if vr in ("OB", "SQ", "UN"):
        return struct.pack("<HH2sHI", group, number, vr.encode(), 0, length) + value
    return struct.pack("<HH2sH", group, number, vr.encode(), length) + value


def sequence(group, number, item):
    return element(group, number, "SQ", ITEM + item + ITEM_END + SEQUENCE_END, UNDEFINED)


def nested(levels):
    return (element(0x70, 1, "SQ", b"", UNDEFINED) + ITEM) * levels + (ITEM_END + SEQUENCE_END) * levels


def header(syntax=EXPLICIT):
    meta = (element(2, 1, "OB", b"\0\1") + element(2, 2, "UI", GSPS) + element(2, 3, "UI", STATE) +
            element(2, 0x10, "UI", syntax))
    return bytes(128) + b"DICM" + element(2, 0, "UL", struct.pack("<I", len(meta))) + meta


def file(dataset):
    return header() + dataset


def deflated(dataset, repeated=b"", times=0):
    """The data set, and behind it `repeated` so many times, of which only the first is really packed."""
    packer = zlib.compressobj(9, zlib.DEFLATED, -15)
    start = packer.compress(dataset) + packer.flush(zlib.Z_FULL_FLUSH)
    again = packer.compress(repeated) + packer.flush(zlib.Z_FULL_FLUSH)
    return header(DEFLATED) + start + again * times + packer.flush()


def figure(image=f"CT.{IMAGE}", lines="sized 64 64 1 0"):
    decoded = f"x/{image}_1\n{lines}"
    return "\\ID+" + "".join(c if c.isalnum() else f"%{ord(c):02X}" for c in decoded)


def state(plugin_state=f"label{figure()}", uid=STATE, study=STUDY, sop_class=GSPS, before=b"", behind=b""):
    """A presentation state (PS3.3 A.33.1) with what a conversion needs. `before` the references, `behind` it all."""
    image = element(8, 0x1150, "UI", CT) + element(8, 0x1155, "UI", IMAGE)
    series = sequence(8, 0x1140, image) + element(0x20, 0xE, "UI", "1.2.3")
    return (element(8, 0x16, "UI", sop_class) + element(8, 0x18, "UI", uid) + before + sequence(8, 0x1115, series) +
            element(0x20, 0xD, "UI", study) + element(0xF215, 0x10, "LO", "PB group A") +
            element(0xF215, 0x1094, "OB", plugin_state) + behind)
