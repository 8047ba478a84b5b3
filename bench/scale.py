#!/usr/bin/python3
"""Archives of millions of states on many shards, simulated: scale.py JOURNAL STATE_MS IMPORT_MS [STATES...]

Replays the times in the records of a journal, stretched to a mean of STATE_MS, over archives of so many states, 10^7
and 10^9 when none are given. A study has a lognormal number of states, rounded up, with the median and sigma below; it
falls to a shard by its hash, and its import takes IMPORT_MS once. Prints for each number of shards, of a worker each,
the mean and the slowest shard, the speed-up over one, the part of the slowest shard's time that its largest study
takes, and what all shards together ask of the database and of the file server.
"""
import json
import sys

import numpy

MEDIAN, SIGMA = 3.0, 1.6
STATEMENTS, IMPORT_STATEMENTS = 2.4, 6  # of the database, a state and a study
METADATA = 2 + 3 * 1.71  # of the file server, a state: input looked at and opened; output looked for, created, renamed
SHARDS = 1, 10, 100, 1000, 10000
CHUNK = 5_000_000


def studies(chance, states):
    """The sizes of studies, in parts, until they hold so many states."""
    while states > 0:
        sizes = numpy.ceil(chance.lognormal(numpy.log(MEDIAN), SIGMA, CHUNK)).astype(numpy.int64)
        sizes = sizes[:numpy.searchsorted(numpy.cumsum(sizes), states) + 1]
        states -= int(sizes.sum())
        yield sizes


def seconds_of(chance, sizes, measured, importing):
    """What each study takes: its import, and as many of the measured times; above 64 the normal limit of their sum."""
    total = numpy.zeros(len(sizes))
    for number in range(64):
        more = numpy.flatnonzero((sizes > number) & (sizes <= 64))
        total[more] += chance.choice(measured, len(more))
    large = numpy.flatnonzero(sizes > 64)
    spread = measured.std() * numpy.sqrt(sizes[large])
    total[large] = sizes[large] * measured.mean() + spread * chance.standard_normal(len(large))
    return importing + numpy.maximum(total, 0)


def simulate(states, measured, importing):
    chance = numpy.random.default_rng(11)
    loads = {shards: numpy.zeros(shards) for shards in SHARDS}
    largest = {shards: numpy.zeros(shards) for shards in SHARDS}
    count, most, total = 0, 0, 0
    for sizes in studies(chance, states):
        taken = seconds_of(chance, sizes, measured, importing)
        count, total, most = count + len(sizes), total + int(sizes.sum()), max(most, int(sizes.max()))
        for shards in SHARDS:
            shard = chance.integers(0, shards, len(sizes))
            loads[shards] += numpy.bincount(shard, taken, shards)
            numpy.maximum.at(largest[shards], shard, taken)
    show(states, loads, largest, f"{count:,} studies, the largest of {most:,}", total, count)


def show(states, loads, largest, what, total, count):
    whole = loads[1][0]
    statements = STATEMENTS * total + IMPORT_STATEMENTS * count
    print(f"{states:,} states, {what}")
    print("| shards | mean shard | slowest shard | speed-up | its largest study | statements/s | metadata/s |")
    print("|---|---|---|---|---|---|---|")
    for shards in SHARDS:
        slowest = int(loads[shards].argmax())
        wall = loads[shards][slowest]
        share = largest[shards][slowest] / wall
        print(f"| {shards:,} | {duration(whole / shards)} | {duration(wall)} | {whole / wall:,.0f} "
              f"| {100 * share:.1f} % | {statements / wall:,.0f} | {METADATA * total / wall:,.0f} |")


def duration(seconds):
    units = ("days", 86400), ("h", 3600), ("min", 60), ("s", 1)
    unit, length = next((pair for pair in units if seconds >= 2 * pair[1]), units[-1])
    return f"{seconds / length:.1f} {unit}"


def main():
    lines = open(sys.argv[1]).read().splitlines()[1:]
    measured = numpy.array([json.loads(line)["ms"] for line in lines])
    measured *= float(sys.argv[2]) / 1000 / measured.mean()
    for states in map(float, sys.argv[4:] or ("1e7", "1e9")):
        simulate(int(states), measured, float(sys.argv[3]) / 1000)


main()
