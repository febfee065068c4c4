/* SPDX-License-Identifier: MIT
 * Frames in shared memory: the layout that a grabber of one's own writes and `narvo watch shm:NAME` reads. Plain C11
 * and C++; all numbers are in the byte order of the machine.
 *
 * The memory (shm_open) holds a header of NARVO_RING_HEADER_BYTES bytes and then `slots` slots of `slot_bytes` bytes. A
 * slot is a NarvoRingSlot followed by the frame. Frame number n, from 0, lies in slot n % slots. To write it:
 *   1. slot.state = 2 * n + 1, released before anything else of the slot is written
 *   2. the frame's bytes, then slot.bytes and slot.acquired
 *   3. slot.state = 2 * n + 2, released
 *   4. header.written = n + 1, released
 * A frame that the camera lost is counted by going on with a larger n; steps 1 to 4 are left out for the lost ones. The
 * header is complete, and `magic` written last, before the first frame. A writer that ends sets header.ended to 1. */
#ifndef NARVO_FRAME_RING_H
#define NARVO_FRAME_RING_H

#include <stdint.h>

#define NARVO_RING_MAGIC UINT64_C(0x474e49524f52414e) /* "NARORING" in memory, little-endian */
#define NARVO_RING_VERSION 1U
#define NARVO_RING_HEADER_BYTES 4096U
#define NARVO_RING_MOST_SLOTS 1024U

typedef struct NarvoRingHeader
{
    uint64_t magic;
    uint32_t version;
    uint32_t slots;      /* 2 to NARVO_RING_MOST_SLOTS */
    uint64_t frameBytes; /* of each frame */
    uint64_t slotBytes;  /* from slot to slot: at least those of NarvoRingSlot and a frame, a multiple of 64 */
    uint64_t written;    /* number of the next frame */
    uint32_t writer;     /* process id, by which a reader notices that the writer is gone; 0: not told */
    uint32_t ended;      /* 1: no frame will follow */
} NarvoRingHeader;

typedef struct NarvoRingSlot
{
    uint64_t state;   /* 2 n + 1 while frame n is written, 2 n + 2 when it is there */
    uint64_t bytes;   /* of the frame that arrived; less than frameBytes: incomplete */
    int64_t acquired; /* when its last row was there, nanoseconds since 1970; 0: not told */
    uint64_t reserved[5];
} NarvoRingSlot;

#endif
