# SPDX-License-Identifier: GPL-2.0
"""Writes captures of version 2, as docs/capture.md describes them, with made-up records."""
import math
import struct

CHANNELS = ("trace usb display kmem sched kio dp wifi gpu traintime fs test kzerod smartpa svp charger load cpu "
            "cgroup touchscreen battery").split()
MARK = 255
GAP, END, CLOCK, COUNTERS, MACHINE, CPUS, PACKAGES = range(1, 8)
CAPACITY_FULL = 45411
SECOND = 10**9

CRC_TABLE = []
for byte in range(256):
    for _ in range(8):
        byte = byte >> 1 ^ (byte & 1) * 0x82f63b78
    CRC_TABLE.append(byte)


def crc32c(content):
    crc = 0xffffffff
    for byte in content:
        crc = crc >> 8 ^ CRC_TABLE[(crc ^ byte) & 0xff]
    return crc ^ 0xffffffff


def sealed(head):
    return head + struct.pack("<I", crc32c(head))


class Capture:
    ID = 0x5eed

    def __init__(self, start):
        self.start = start
        self.file = sealed(struct.pack("<8sIIQI", b"\x89ZEM\r\n\x1a\n", 2, 32, self.ID, 0))
        self.content = b""
        self.blocks = self.records = self.in_block = 0
        self.bytes = self.gaps = self.lost = 0

    def put(self, time, channel, sub_type, payload):
        self.content += struct.pack("<QIBB10xI4x", time, 1 if channel != MARK else 0, channel, sub_type,
                                    len(payload)) + payload

    def record(self, second, channel, payload):
        self.put(self.start + int(second * SECOND), CHANNELS.index(channel), 0, payload)
        self.in_block += 1
        self.bytes += 32 + len(payload)
        if len(self.content) > 60000:
            self.end_block()

    def mark(self, second, kind, payload):
        self.put(self.start + int(second * SECOND), MARK, kind, payload)

    def clock(self, second, boottime=100):
        past = int(second * SECOND)
        self.mark(second, CLOCK, struct.pack("<QQQiI", self.start + past, past, boottime * SECOND + past, 3600, 500))

    def totals(self, second, kind):
        self.mark(second, kind, struct.pack("<7Q", self.records + self.in_block, self.bytes, 0, self.gaps, 0, 0,
                                            self.lost))

    def lose(self, second, records):
        self.gaps += 1
        self.lost += records
        self.totals(second, GAP)

    def end_block(self):
        head = struct.pack("<8sQQQ6I", b"\x8bZBL\r\n\x1a\n", self.ID, self.blocks, self.records, self.in_block,
                           len(self.content), len(self.content), 0, crc32c(self.content), 0)[:52]
        self.file += sealed(head) + self.content
        self.blocks += 1
        self.records += self.in_block
        self.content, self.in_block = b"", 0


def wave(second, phase, low, high):
    """A value that changes slowly between two bounds."""
    return low + (high - low) * (0.5 + 0.5 * math.sin(second / 40 + phase) * math.cos(second / 17 + 2 * phase))


def name(text, size):
    return text[:size - 1].ljust(size, b"\0")


def load(pid, tgid, comm, package, runtime, usage):
    head = struct.pack("<I16siB32s7x", pid, name(comm, 16), tgid, 0, name(package, 32))
    return head + struct.pack("<4Q", runtime, usage, usage, runtime) + bytes(96)


def svp(tgid, pid, comm, package, ran, waited, slept):
    stats = struct.pack("<4IQ4IQ4IQ", 9, 3, 1, 0, waited, 20, 4, 1, 0, ran, 5, 2, 1, 0, slept)
    return struct.pack("<ii16s32s", tgid, pid, name(comm, 16), name(package, 32)) + stats.ljust(400, b"\0")


def sched(factor):
    def block(*counts):
        numbers = [int(count * factor) for count in counts]
        return struct.pack("<10I8II", *numbers, *[1000] * 8, 8 * 1000 * int(factor))

    return bytes(192) + block(9000, 2100, 700, 300, 90, 30, 9, 3, 1, 1) + \
        block(400, 160, 70, 30, 12, 6, 4, 2, 1, 3) + block(250, 90, 40, 22, 12, 4, 2, 1, 0, 1) + \
        block(180, 20, 9, 4, 1, 1, 0, 0, 0, 0)


def kio(disks, users):
    devices = b"".join(struct.pack("<11Q", 0, 0, read, 0, 0, 0, written, 0, 0, busy, 0) + bytes(160)
                       for read, written, busy in disks)
    tops = b"".join(struct.pack("<II", uid, 0) + struct.pack("<9Q", size, 0, 0, 0, 9, 0, 0, 0, 0) +
                    struct.pack("<Q9QQQ2Q", 5, size, 0, 0, 0, 9, 0, 0, 0, 0, 0, size, 0, 0)
                    for uid, size in users).ljust(1920, b"\0")
    waits = b"".join(struct.pack("<II2Q", uid, 0, size, size) for uid, size in users).ljust(240, b"\0")
    return (bytes(8) + devices + tops + waits).ljust(3936, b"\0")


def cgroup(waits):
    return b"".join(struct.pack("<16sQQQ", group.encode(), wait, wait // 5, wait // 9) for group, wait in waits)


def usb(event, message):
    return struct.pack("<32sHH32s32sI128s", b"super-speed", 0x46f4, 1, b"ACME", b"STICK", event, message)


HOSTILE = b"</script><b>\xff\""
APPS = [(1200, b"com.example.maps", 5e9), (1300, b"com.example.mail", 2e9), (1400, b"com.example.music", 1e9)]


def made(seconds, interval=5):
    """A capture with records of every kind that a report shows, of processes with odd names, and of a loss."""
    capture = Capture(1_700_000_000 * SECOND)
    capture.clock(0)
    capture.mark(0, MACHINE, struct.pack("<II40s72s128s", 4096, 8, b"boot", b"6.6.0-test", b"Phone & <Sons>"))
    capture.mark(0, CPUS, b"".join(struct.pack("<4I", cpu, 0 if cpu < 4 else 1 if cpu < 7 else 2, 1024, 0)
                                   for cpu in range(8)))
    capture.mark(0, PACKAGES, b"10200 com.example.maps\n10300 com.example.mail\n")
    disk = [0, 0, 0]
    for second in range(interval, seconds + 1, interval):
        for cpu in range(8):
            usage = int(CAPACITY_FULL * wave(second, cpu, 0.02, 0.3 + 0.08 * cpu))
            capture.record(second, "cpu", struct.pack("<IIQQ", cpu, 0, second, usage))
        for number, (pid, package, most) in enumerate(APPS):
            ran = int(wave(second, number, most / 9, most))
            capture.record(second, "load", load(pid, pid, b"app", package, ran, ran * CAPACITY_FULL // 10**10))
            capture.record(second, "svp", svp(pid, pid + 1, b"render", package, ran // 2, ran // 30, ran // 60))
        for number in range(40):
            capture.record(second, "load", load(2000 + number, 2000 + number, b"worker/%d" % number, b"",
                                                (number + 1) * 10**6, number))
        capture.record(second, "load", load(3000, 3000, HOSTILE, b"", 3 * 10**8, 900))
        capture.record(second, "sched", sched(wave(second, 3, 0.4, 1)))
        capture.record(second, "cgroup", cgroup(
            [(group, int(wave(second, number, 1e6, 9e8 / (number + 1))))
             for number, group in enumerate(("all", "root", "fg", "top", "bg", "sysbg", "svp"))]))
        disk = [disk[0] + int(wave(second, 1, 0, 90000)), disk[1] + int(wave(second, 2, 0, 40000)),
                disk[2] + int(wave(second, 1, 0, 900))]
        capture.record(second, "kio", kio([(0, 0, 0)] * 3 + [disk], [(10200, 10**7), (0, 10**6)]))
        capture.record(second + 1, "wifi", b"rssi=-50")
        if second % 60 == 0:
            capture.clock(second)
    capture.record(seconds / 4, "usb", usb(0, b"New device found"))
    capture.record(seconds / 2, "usb", usb(10, b"USB disconnect"))
    capture.lose(seconds / 2, 17)
    capture.totals(seconds, END)
    capture.end_block()
    return capture.file
