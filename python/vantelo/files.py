"""Readable descriptions of state files and knowledge records (vantelo inspect).

Floats are written as the shortest decimal that reads back as the same float32;
NaN and infinities, which JSON has no numbers for, as the strings "nan", "inf"
and "-inf".
"""

import json
import math

import numpy as np

from .engine import KNOWLEDGE_SIZE, STATE_FILE_SIZE, Engine, slot_role

KNOWLEDGE_SIGNATURE = (8, 3, 1, 0, 0, 0, 100, 0, 0, 0, 1000000, 0, 10, 21, 1)
SLOT_COLUMNS = ["slot", "center_x", "center_y", "center_z", "radius", "count", "role"]

# (field, offset, size) of the state file, in file order.
STATE_FIELDS = (
    [("learned_total", 0, 4), ("detected_total", 4, 4), ("nominal_total", 8, 4),
     ("anomaly_total", 12, 4), ("sensitivity", 16, 4), ("init_done", 20, 1),
     ("learn_count", 21, 4), ("frame_length", 25, 2), ("vector_length", 27, 2),
     ("measure_primary", 29, 1), ("measure_secondary", 30, 1)]
    + [(f"slot_{k}.{part}", 31 + 18 * k + offset, size)
       for k in range(10)
       for part, offset, size in (("center_x", 0, 4), ("center_y", 4, 4), ("center_z", 8, 4),
                                  ("radius", 12, 4), ("count", 16, 2))]
    + [("spare_slot", 211, 1), ("filled_slots", 212, 1), ("smallest_count_slot", 213, 1),
       ("smallest_count", 214, 2)]
)


def json_float(value):
    """A float32 value as a JSON-safe value: the shortest decimal that reads
    back as the same float32, or "nan", "inf", "-inf"."""
    value = np.float32(value)
    if math.isnan(value):
        return "nan"
    if math.isinf(value):
        return "inf" if value > 0 else "-inf"
    return float(str(value))


def _slot_rows(slots, spare_slot, filled_slots, number=json_float):
    return [[k, number(x), number(y), number(z), number(radius), count,
             slot_role(k, (x, y, z), count, spare_slot, filled_slots)]
            for k, (x, y, z, radius, count) in enumerate(slots)]


def describe_state(data, name=None):
    """A state file's bytes as the emulator loads them, field by field."""
    engine = Engine.from_bytes(data)
    model = engine.model()
    absent = [field for field, offset, size in STATE_FIELDS if offset + size > len(data)]
    return {
        "file": name,
        "kind": "state",
        "length": len(data),
        "absent_fields": absent,
        "ignored_bytes": max(0, len(data) - STATE_FILE_SIZE),
        "learned_total": engine.learned_total,
        "detected_total": engine.detected_total,
        "nominal_total": engine.nominal_total,
        "anomaly_total": engine.anomaly_total,
        "sensitivity": json_float(model["sensitivity"]),
        "init_done": model["init_done"],
        "learn_count": model["learn_count"],
        "frame_length": model["frame_length"],
        "vector_length": model["vector_length"],
        "measure_primary": model["measure_primary"],
        "measure_secondary": model["measure_secondary"],
        "slots": {"columns": SLOT_COLUMNS,
                  "rows": _slot_rows(model["slots"], model["spare_slot"],
                                     model["filled_slots"])},
        "spare_slot": model["spare_slot"],
        "filled_slots": model["filled_slots"],
        "smallest_count_slot": model["smallest_count_slot"],
        "smallest_count": model["smallest_count"],
    }


def describe_knowledge(data, name=None):
    """A knowledge record's 72 floats by name, with its signature checked."""
    if len(data) != KNOWLEDGE_SIZE:
        raise ValueError(f"a knowledge record holds {KNOWLEDGE_SIZE} bytes, not {len(data)}")
    values = np.frombuffer(data, dtype="<f4")
    slots = [tuple(values[3 + 5 * k: 8 + 5 * k]) for k in range(10)]
    signature = values[57:]
    mismatches = [57 + i for i, (got, want) in enumerate(zip(signature, KNOWLEDGE_SIGNATURE))
                  if not got == np.float32(want)]
    rows = [[k, json_float(x), json_float(y), json_float(z), json_float(r), json_float(c),
             slot_role(k, (x, y, z), c, values[53], values[54])]
            for k, (x, y, z, r, c) in enumerate(slots)]
    return {
        "file": name,
        "kind": "knowledge",
        "length": len(data),
        "learn_count": json_float(values[0]),
        "measure_primary": json_float(values[1]),
        "measure_secondary": json_float(values[2]),
        "slots": {"columns": SLOT_COLUMNS, "rows": rows},
        "spare_slot": json_float(values[53]),
        "filled_slots": json_float(values[54]),
        "smallest_count_slot": json_float(values[55]),
        "smallest_count": json_float(values[56]),
        "signature": {
            "values": [json_float(v) for v in signature],
            "expected": list(KNOWLEDGE_SIGNATURE),
            "matches": not mismatches,
            "mismatched_positions": mismatches,
        },
    }


def describe_file(path, kind=None):
    """A state file or a knowledge record: by `kind` ("state", "knowledge"), or
    else by length (288 bytes is a knowledge record, any other a state file)."""
    with open(path, "rb") as f:
        data = f.read()
    if kind is None:
        kind = "knowledge" if len(data) == KNOWLEDGE_SIZE else "state"
    if kind == "knowledge":
        return describe_knowledge(data, str(path))
    return describe_state(data, str(path))


def to_json(value, indent=""):
    """Indented JSON in which every list of plain values (a slot row, the column
    names, the signature) stays on one line."""
    inner = indent + "  "
    if isinstance(value, dict):
        items = [f"{inner}{json.dumps(k)}: {to_json(v, inner)}" for k, v in value.items()]
        return "{\n" + ",\n".join(items) + "\n" + indent + "}" if items else "{}"
    if isinstance(value, list) and any(isinstance(v, (dict, list)) for v in value):
        items = [inner + to_json(v, inner) for v in value]
        return "[\n" + ",\n".join(items) + "\n" + indent + "]"
    return json.dumps(value, allow_nan=False)
