/* SPDX-License-Identifier: MIT
 * A grabber's side of shared memory: writes frames of 8-bit grey for `narvo watch shm:NAME --raw Mono8:WIDTHxHEIGHT`.
 * Usage: ring_writer NAME WIDTH HEIGHT FRAMES MILLISECONDS: so many frames, so far apart. The memory is removed at the
 * end; a reader that has it open still reads what it holds. */
#define _POSIX_C_SOURCE 200809L
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include "sources/frame_ring.h"

enum
{
    SLOTS = 8
};

static void Wait(long milliseconds)
{
    const struct timespec time = {milliseconds / 1000, milliseconds % 1000 * 1000000};
    nanosleep(&time, NULL);
}

/* A pattern of 8 pixels; in place of this stands what copies a camera's rows. */
static void Draw(unsigned char* pixels, long width, long height)
{
    for (long y = 0; y < height; ++y)
        for (long x = 0; x < width; ++x)
            pixels[y * width + x] = (unsigned char)(x % 8 < 4 ? 80 : 120);
}

static void WriteFrame(NarvoRingHeader* header, uint64_t number, long width, long height)
{
    unsigned char* place =
        (unsigned char*)header + NARVO_RING_HEADER_BYTES + number % header->slots * header->slotBytes;
    NarvoRingSlot* slot = (NarvoRingSlot*)(void*)place;
    struct timespec now;
    __atomic_store_n(&slot->state, 2 * number + 1, __ATOMIC_RELAXED);
    __atomic_thread_fence(__ATOMIC_RELEASE);
    Draw(place + sizeof *slot, width, height);
    clock_gettime(CLOCK_REALTIME, &now);
    slot->bytes = header->frameBytes;
    slot->acquired = (int64_t)now.tv_sec * 1000000000 + now.tv_nsec;
    __atomic_store_n(&slot->state, 2 * number + 2, __ATOMIC_RELEASE);
    __atomic_store_n(&header->written, number + 1, __ATOMIC_RELEASE);
}

int main(int argc, char** argv)
{
    if (argc != 6)
        return fprintf(stderr, "usage: ring_writer NAME WIDTH HEIGHT FRAMES MILLISECONDS\n"), 2;
    const long width = atol(argv[2]);
    const long height = atol(argv[3]);
    const long frames = atol(argv[4]);
    const long pause = atol(argv[5]);
    if (width < 1 || height < 1 || width > 100000 || height > 100000 || frames < 0 || pause < 0)
        return fprintf(stderr, "ring_writer: sides are 1 to 100000 pixels, the others at least 0\n"), 2;

    const uint64_t frameBytes = (uint64_t)width * (uint64_t)height;
    const uint64_t slotBytes = (sizeof(NarvoRingSlot) + frameBytes + 63) / 64 * 64;
    const size_t size = (size_t)(NARVO_RING_HEADER_BYTES + SLOTS * slotBytes);
    shm_unlink(argv[1]);
    const int memory = shm_open(argv[1], O_RDWR | O_CREAT | O_EXCL, 0600);
    if (memory < 0 || ftruncate(memory, (off_t)size) != 0)
        return perror("ring_writer"), 1;
    void* mapped = mmap(NULL, size, PROT_READ | PROT_WRITE, MAP_SHARED, memory, 0);
    if (mapped == MAP_FAILED)
        return perror("ring_writer"), 1;
    NarvoRingHeader* header = mapped;
    header->version = NARVO_RING_VERSION;
    header->slots = SLOTS;
    header->frameBytes = frameBytes;
    header->slotBytes = slotBytes;
    header->writer = (uint32_t)getpid();
    __atomic_store_n(&header->magic, NARVO_RING_MAGIC, __ATOMIC_RELEASE);

    for (long number = 0; number < frames; ++number)
    {
        Wait(pause);
        WriteFrame(header, (uint64_t)number, width, height);
    }
    __atomic_store_n(&header->ended, 1U, __ATOMIC_RELEASE);
    shm_unlink(argv[1]);
    return 0;
}
