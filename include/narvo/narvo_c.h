// SPDX-License-Identifier: MIT
// The C interface of the host library, for C99 and later, C++, and every language that can call C functions.
// docs/c-interface.md is its guide.
//
// Status: functions that can fail return NARVO_OK or why they did nothing; narvo_problem_count and narvo_problem_get
// then list every reason. No function throws, prints or ends the program. A call that fails sets the handle that it
// would have returned to null and changes nothing else.
//
// Handles: a handle is a value of the library and no address. Null, handles of another kind and handles that were freed
// are refused. Every handle that a call returns is freed once, by the function whose name ends in _free, which takes
// null as well and does nothing then. Freeing a handle while other threads are in calls with it is safe: these calls
// end as if it were not freed.
//
// Records: their first member is their size as the caller compiled them, sizeof(narvo_image) and so on. Later versions
// only append members, so programs compiled with an older header keep working with a newer library. A size that is
// none of the record's is refused. Members named reserved are 0 in records that the library fills, and not read.
//
// Texts: UTF-8, ended by a zero byte. Texts that the library returns stay its own; each function says until when they
// can be read.
//
// Threads: any number of threads may call any function with any handles. The problems of each thread are its own.
#ifndef NARVO_NARVO_C_H
#define NARVO_NARVO_C_H

#include <stddef.h>
#include <stdint.h>

#if defined(__GNUC__)
#define NARVO_C_API __attribute__((visibility("default")))
#else
#define NARVO_C_API
#endif

#ifdef __cplusplus
extern "C"
{
#endif

/// Status: the call did what it says.
#define NARVO_OK 0
/// Status: something that was handed over is wrong, or an image and a recipe do not suit each other.
#define NARVO_REFUSED 1
/// Status: memory ran out; the same call may succeed later.
#define NARVO_NO_MEMORY 2
/// Status: the call failed for a reason that the caller cannot mend, which the problem says.
#define NARVO_FAILED 3
/// Status: the narvo_on_progress of the call asked it to stop. Since version 2.
#define NARVO_STOPPED 4

/// Version of this header: raised when functions or members are added. What a version after the first added says so.
#define NARVO_C_VERSION 5

    /// The version of the library that is loaded. A program works with every library whose version is at least the
    /// NARVO_C_VERSION that it was compiled with.
    NARVO_C_API int32_t narvo_c_version(void);

    /// A checked recipe. Nothing changes it. It keeps the tables for the image size that was inspected last, so use one
    /// for all images rather than make it anew.
    typedef struct narvo_recipe narvo_recipe;
    /// A recipe while it is built field by field.
    typedef struct narvo_draft narvo_draft;
    /// Engines for a number of images at once.
    typedef struct narvo_inspector narvo_inspector;
    /// What came out of one image. Reports keep nothing of the image, recipe or inspector that they come from.
    typedef struct narvo_reports narvo_reports;
    /// The period of a pattern and a first recipe, found in an image.
    typedef struct narvo_proposal narvo_proposal;
    /// What good images of a pattern that does not repeat look like.
    typedef struct narvo_golden narvo_golden;
    /// A recipe learnt from good images, and what was learnt of them. Since version 2, as all that follow.
    typedef struct narvo_learning narvo_learning;
    /// One inspection whose pixels can be asked about.
    typedef struct narvo_explainer narvo_explainer;
    /// The way of one pixel through an inspection.
    typedef struct narvo_explanation narvo_explanation;
    /// An image without end, whose rows are inspected as they come.
    typedef struct narvo_stream narvo_stream;
    /// Results in a database. Since version 3.
    typedef struct narvo_store narvo_store;
    /// How the pixels of a file or a camera become the 8-bit grey that is inspected: the section `image` of a recipe.
    /// Since version 4, as all that follow.
    typedef struct narvo_rules narvo_rules;
    /// An image that the library owns. Nothing changes it.
    typedef struct narvo_picture narvo_picture;
    /// What a recipe finds of defects planted in good images.
    typedef struct narvo_capability narvo_capability;
    /// What a call found out: as JSON for programs, and as text for people. Since version 5, as all that follow.
    typedef struct narvo_findings narvo_findings;
    /// Images of one pattern, to ask what they have in common.
    typedef struct narvo_lot narvo_lot;
    /// What the cell of a pattern looks like in good images. Nothing changes it.
    typedef struct narvo_cell narvo_cell;
    /// Images with their defects, as the files of other programs know them.
    typedef struct narvo_exchange narvo_exchange;
    /// A folder of images with known defects. Nothing changes it.
    typedef struct narvo_image_set narvo_image_set;
    /// What is true of one image. Nothing changes it.
    typedef struct narvo_truth narvo_truth;
    /// How well a method finds known defects.
    typedef struct narvo_evaluation narvo_evaluation;

    /// Called again and again during a long call, one at a time, on any of the call's threads, with the caller's
    /// `context`: what is being done, which can be read during this call of it alone, how many images, references or
    /// defects are done, and of how many; a `total` of 0: not known. When it returns 0, the call ends with
    /// NARVO_STOPPED as soon as what has begun is finished. It must neither throw nor call functions with handles that
    /// the long call works on. Since version 2.
    typedef int32_t (*narvo_on_progress)(void* context, const char* step, int64_t done, int64_t total);

    /// One reason why a call failed.
    typedef struct narvo_problem
    {
        uint32_t size;       ///< sizeof(narvo_problem)
        uint32_t reserved;   ///< 0
        const char* field;   ///< path of a recipe field, name of an argument, or a file
        const char* value;   ///< what was found there
        const char* allowed; ///< what would have been right
    } narvo_problem;

    /// Where the pixels of a grey image lie. They must not change during a call, and no call keeps them. 8-bit images
    /// without gaps between rows whose width is a multiple of 4 are read where they lie; others are copied once for
    /// each call.
    typedef struct narvo_image
    {
        uint32_t size;  ///< sizeof(narvo_image)
        int32_t width;  ///< pixels, 1 .. 1048576
        int32_t height; ///< pixels, 1 .. 1048576; width by height up to 1073741824
        int32_t bits;   ///< 8: one byte a pixel; 9 .. 16: two bytes a pixel, the machine's order, values below 2^bits
        int64_t stride; ///< bytes from row to row, at least a row's; even above 8 bits; 0: rows without gaps
        const void* pixels; ///< upper left; at an even address above 8 bits
    } narvo_image;

    /// What came out of one region. Coordinates are those of the image; y grows downward, right and bottom are
    /// exclusive.
    typedef struct narvo_report
    {
        uint32_t size;         ///< sizeof(narvo_report)
        int32_t code;          ///< 1: all was inspected; 16: done in part or with re-runs, see the warnings
        int32_t vertical;      ///< 1: compared along y; 0: along x
        int32_t overflowed;    ///< 1: more was found than the engine holds at once; 0: not
        int32_t left;          ///< of the region; of shapes, the bounds
        int32_t top;           ///< the same
        int32_t right;         ///< the same
        int32_t bottom;        ///< the same
        double milliseconds;   ///< all that the inspection took
        const char* name;      ///< the region's in the recipe; can be read until the reports are freed
        int64_t defect_count;  ///< how many narvo_reports_defects has
        int64_t warning_count; ///< how many narvo_reports_warning has: what was perhaps not looked at, or lost
    } narvo_report;

    /// One reported defect. Coordinates are those of the image; y grows downward, right and bottom are exclusive.
    typedef struct narvo_defect
    {
        uint32_t size;           ///< sizeof(narvo_defect)
        int32_t number;          ///< 1, 2, ... in the order of the report
        int32_t bright;          ///< 1: brighter than its reference; 0: darker
        int32_t band;            ///< 1 first pitch of the region, 2 middle, 3 last
        int32_t single;          ///< 1: seen against one neighbour only; 0: not
        int32_t area;            ///< pixels
        int32_t left;            ///< of all its pixels
        int32_t top;             ///< the same
        int32_t right;           ///< the same
        int32_t bottom;          ///< the same
        int32_t center_x;        ///< mean of its pixels along x
        int32_t center_y;        ///< the same along y
        int32_t peak_x;          ///< column where it stands out most
        int32_t peak_y;          ///< row where it does
        int32_t peak;            ///< how far it rises above its threshold there, grey levels
        int32_t max_difference;  ///< difference there, grey levels
        int32_t mean_difference; ///< grey levels
        int32_t mean_grey;       ///< of its pixels
        int32_t mean_reference;  ///< of what they were compared with
        int32_t zone;            ///< the zone that holds most of its pixels
        int32_t scale;      ///< reduction of the image at which it stands out most; 1 where only the image is compared
        int32_t label;      ///< the recipe's label
        int32_t diameter;   ///< in the recipe's pixel sizes
        int32_t reserved;   ///< 0
        double angle;       ///< of the long axis, degrees
        double major_axis;  ///< pixels
        double minor_axis;  ///< pixels
        double circularity; ///< 1 for a disc, less for other shapes
        double elongation;  ///< area over the major axis, pixels: the mean width of a long defect
    } narvo_defect;

    /// A rectangle of pixels; right and bottom are exclusive.
    typedef struct narvo_box
    {
        uint32_t size;  ///< sizeof(narvo_box)
        int32_t left;   ///< first column
        int32_t top;    ///< first row
        int32_t right;  ///< column behind the last one
        int32_t bottom; ///< row behind the last one
    } narvo_box;

    /// What was found along one axis of a pattern.
    typedef struct narvo_pitch_axis
    {
        uint32_t size;         ///< sizeof(narvo_pitch_axis)
        int32_t found;         ///< 1: a period was found; 0: none, and the rest is 0
        int32_t periods;       ///< periods that the measured length spans
        int32_t reserved;      ///< 0
        double pitch;          ///< to the nearest 1/16 pixel, which recipes take; pixels
        double measured;       ///< as measured, pixels
        double confidence;     ///< least correlation of the image with itself at one, two and three pitches, 0 .. 1
        double other_pitch;    ///< strongest other period that is no multiple, pixels; 0: there is none
        double other_strength; ///< correlation of the image with itself there, up to 1
    } narvo_pitch_axis;

    /// Which map of a region narvo_draft_set_region_map sets. A difference must exceed the offset plus the larger
    /// compared value times gain / 256, both of the place where the comparison begins: its reference lies one compare
    /// distance on.
    typedef enum narvo_region_map
    {
        NARVO_MAP_OFFSET = 0,       ///< 0 .. 32512 grey levels; 256 and more pass no pixel. Not set: 0
        NARVO_MAP_GAIN = 1,         ///< 0 .. 256, in 1/256. Not set: 0
        NARVO_MAP_ZONE = 2,         ///< 0 .. 15, the zone whose filter values apply. Not set: the recipe's only zone
        NARVO_MAP_KNEE = 3,         ///< 0 .. 255 grey levels: above it the upper segment applies
        NARVO_MAP_UPPER_OFFSET = 4, ///< as the offset; knee and upper segment are set together or not at all
        NARVO_MAP_UPPER_GAIN = 5,   ///< as the gain
        NARVO_MAP_CLASS = 6         ///< 0 .. 15, a class that the extended kernels take
    } narvo_region_map;

    /// Where the values of a map lie, one for each pixel of a region. No call keeps them.
    typedef struct narvo_map_values
    {
        uint32_t size;         ///< sizeof(narvo_map_values)
        int32_t width;         ///< of the region, pixels
        int32_t height;        ///< of the region, pixels
        int32_t reserved;      ///< not read
        int64_t stride;        ///< values from row to row, at least the width; 0: no gaps
        const int16_t* values; ///< of the region's upper left pixel
    } narvo_map_values;

    /// A setting by its name; what is not named keeps its default.
    typedef struct narvo_setting
    {
        uint32_t size;     ///< sizeof(narvo_setting)
        uint32_t reserved; ///< not read
        const char* name;  ///< one of those that the function lists
        double value;      ///< in its unit and range; whole where the list says so
    } narvo_setting;

    /// How an image lies on the first golden reference, and how it was compared.
    typedef struct narvo_registration
    {
        uint32_t size;          ///< sizeof(narvo_registration)
        int32_t at_limit;       ///< 1: a setting held the map back, the image may lie further off; 0: none did
        int32_t threshold;      ///< difference that was set, or that followed from the noise, grey levels
        int32_t edge_threshold; ///< the same near edges
        int32_t masked;         ///< defects left out as lying in masked places
        int32_t reserved;       ///< 0
        const char* model;      ///< "shift", "rigid", "similarity" or "affine"; can be read until the reports are freed
        double shift_x;         ///< of the pattern at the image's centre, pixels
        double shift_y;         ///< the same along y
        double rotation;        ///< degrees, clockwise on the screen
        double scale_x;         ///< size of the pattern over that in the reference, along x
        double scale_y;         ///< the same along y
        double shear;           ///< degrees missing to a right angle
        double largest_local;   ///< longest local correction, pixels
        double correlation;     ///< of image and registered reference over what both show
        double overlap;         ///< share of the image whose place lies inside the reference
        double compared;        ///< share of the image that was compared
        double edge_growth;     ///< pixels by which bright is wider at each edge than the model has it
    } narvo_registration;

    /// A defect's place in the first golden reference.
    typedef struct narvo_place
    {
        uint32_t size;    ///< sizeof(narvo_place)
        int32_t left;     ///< around the corners of its box
        int32_t top;      ///< the same
        int32_t right;    ///< the same
        int32_t bottom;   ///< the same
        int32_t reserved; ///< 0
        double center_x;  ///< of its mean, pixels; whole numbers are centres of pixels
        double center_y;  ///< the same along y
    } narvo_place;

    /// What is learnt from. Arrays of records lie one after the other and have one size. Since version 2.
    typedef struct narvo_learn_input
    {
        uint32_t size;                 ///< sizeof(narvo_learn_input)
        uint32_t reserved;             ///< not read
        const narvo_image* good;       ///< good images, all of one depth
        const char* const* good_names; ///< as many names, by which sentences and problems speak of them; null: "good 1"
        int64_t good_count;            ///< 1 .. 1000
        const narvo_image* defective;  ///< images with defects, which decide between ways of inspecting; null: none
        const char* const* defective_names; ///< as many names; null: "defective 1"
        int64_t defective_count;            ///< 0 .. 1000
        const int64_t* box_counts;     ///< how many boxes each defective image has, -1: not known; null: none is known
        const narvo_box* boxes;        ///< around each defect, those of an image behind those of the one before
        const char* mode;              ///< "auto", "texture", "periodic" or "lattice": ways to consider; null: "auto"
        const narvo_setting* settings; ///< "false_rate", false defects an image that the limits aim at, 0.001 .. 10,
                                       ///< default 0.1; "threads", whole, 1 .. 256, default 1, which changes no result
        int64_t setting_count;         ///< 0 .. 65536
        narvo_on_progress progress;    ///< told of each image that is read; null: nobody
        void* context;                 ///< handed to it
    } narvo_learn_input;

    /// What was learnt, in figures. Since version 2.
    typedef struct narvo_learnt
    {
        uint32_t size;         ///< sizeof(narvo_learnt)
        uint32_t reserved;     ///< 0
        int64_t reason_count;  ///< sentences of narvo_learning_reason
        int64_t warning_count; ///< sentences of narvo_learning_warning
        int64_t false_defects; ///< in images whose limits were learnt without them
        double false_bound;    ///< false defects an image: upper bound at 95 % confidence from these
    } narvo_learnt;

    /// One of the good images. Since version 2.
    typedef struct narvo_learnt_image
    {
        uint32_t size;         ///< sizeof(narvo_learnt_image)
        int32_t width;         ///< pixels
        int32_t height;        ///< pixels
        int32_t reserved;      ///< 0
        int64_t false_defects; ///< places above 1 by limits learnt without it
        double area;           ///< share that shows pattern
        double level;          ///< mean grey there
        double contrast;       ///< standard deviation of grey there
        double score;          ///< highest by limits learnt without it: above 1 it would have had a false defect
    } narvo_learnt_image;

    /// The way of one pixel. Its texts can be read until the explanation is freed. Since version 2.
    typedef struct narvo_pixel_way
    {
        uint32_t size;       ///< sizeof(narvo_pixel_way)
        int32_t x;           ///< the pixel's column
        int32_t y;           ///< its row
        int32_t value;       ///< its grey level, as inspected
        int32_t defect;      ///< number of the reported defect that it is part of, or 0
        int32_t reserved;    ///< 0
        const char* outcome; ///< where its way ended: "reported", "no hit", "filtered", ...
        const char* why;     ///< its way in sentences, one a line
        const char* text;    ///< everything for a person, in lines: comparisons, thresholds, filters
    } narvo_pixel_way;

    /// What a stream has done so far, and where its results may differ from those of one inspection of the whole image.
    /// Since version 2.
    typedef struct narvo_stream_counts
    {
        uint32_t size;        ///< sizeof(narvo_stream_counts)
        int32_t exact;        ///< 1: none of the last five has been counted; 0: some have
        int64_t rows;         ///< pushed
        int64_t final_rows;   ///< whose part in the result is final
        int64_t defects;      ///< reported, whether taken or waiting
        int64_t waiting;      ///< not taken yet
        int64_t cut_defects;  ///< grew taller than largest_blob, or came near a part that was reported already
        int64_t crowded;      ///< times that more answers waited than max_open_pairs
        int64_t overflows;    ///< windows with more answers than the engine takes
        int64_t open_chains;  ///< chains of answers that are longer than the rows kept before a window
        int64_t memory_short; ///< windows for whose search memory was missing
    } narvo_stream_counts;

    /// Images of a store that belong together. Its texts can be read until the next narvo_store_runs of the store, or
    /// until the store is freed. Since version 3.
    typedef struct narvo_stored_run
    {
        uint32_t size;             ///< sizeof(narvo_stored_run)
        uint32_t reserved;         ///< 0
        int64_t number;            ///< the store's own
        int64_t started;           ///< nanoseconds since 1970
        int64_t images;            ///< in the run
        int64_t refused;           ///< of these, with problems
        int64_t defects;           ///< in all images
        const char* key;           ///< unique in the store
        const char* recipe;        ///< name of the recipe, as narvo_store_begin was given it
        const char* recipe_digest; ///< of all that the recipe holds: equal recipes have equal ones
        const char* program;       ///< what wrote the run
    } narvo_stored_run;

    /// One image of a run, with the reports of its inspection, or with the problems for which it was not inspected.
    /// Since version 3.
    typedef struct narvo_stored_image
    {
        uint32_t size;                 ///< sizeof(narvo_stored_image)
        int32_t width;                 ///< pixels; not read where there are reports, which know it; 0: not known
        int32_t height;                ///< the same
        int32_t reserved;              ///< 0
        const char* name;              ///< unique in its run, not empty
        int64_t sequence;              ///< images are read in this order, equal ones as they came
        int64_t inspected;             ///< nanoseconds since 1970; 0: not known
        const narvo_reports* reports;  ///< null where there are problems
        const narvo_problem* problems; ///< one after the other, of one size; null: there are none
        int64_t problem_count;         ///< 0 .. 65536
    } narvo_stored_image;

    /// Takes one image of a run. `image`, its texts and its reports last for this call of it alone; it must not free
    /// the reports, nor call functions with the store. When it returns 0, the call ends with NARVO_STOPPED. Since
    /// version 3.
    typedef int32_t (*narvo_on_image)(void* context, const narvo_stored_image* image);

    /// Where pixels of one to four channels lie, row by row without gaps. No call keeps them. Since version 4.
    typedef struct narvo_pixel_array
    {
        uint32_t size;      ///< sizeof(narvo_pixel_array)
        int32_t width;      ///< pixels, 1 .. 1048576
        int32_t height;     ///< pixels, 1 .. 1048576; width by height up to 1073741824
        int32_t channels;   ///< 1: grey; 3: red, green, blue; 4: with alpha behind them
        int32_t bits;       ///< of a channel: 8, or 16 in the byte order of the machine
        int32_t reserved;   ///< not read
        const void* pixels; ///< of the upper left pixel; of 16-bit values at an even address
    } narvo_pixel_array;

    /// One answer of the comparison, as it stands once defects have been made of all of them. Since version 4.
    typedef struct narvo_answer
    {
        uint32_t size;     ///< sizeof(narvo_answer)
        int32_t x;         ///< column
        int32_t y;         ///< row
        int32_t bright;    ///< 1: brighter than its reference; 0: darker; of a removed one, 0
        int32_t removed;   ///< 1: a filter took it for a false answer, and it is in no defect; 0: not
        int32_t band;      ///< 1 first pitch of the region, 2 middle, 3 last
        int32_t origin;    ///< 1 both neighbours answered, 3 or 4 settled by classification, 5 one answer only
        int32_t peak;      ///< how far it rises above its threshold, grey levels; of window sums, in their units
        int32_t grey;      ///< at its place
        int32_t reference; ///< what it was compared with
        int32_t threshold; ///< that applied there
        int32_t zone;      ///< its zone
    } narvo_answer;

    /// In which good images defects are planted, and which. Lists that have a count of 0 are those that the program
    /// `narvo` plants. Since version 4.
    typedef struct narvo_capability_input
    {
        uint32_t size;                    ///< sizeof(narvo_capability_input)
        int32_t count;                    ///< of each size, contrast, shape and place, 1 .. 1000; 0: 30; 1000000 in all
        const narvo_picture* const* good; ///< images without defects
        const char* const* good_names;    ///< as many names, by which sentences and problems speak of them; null:
                                          ///< "good 1"
        int64_t good_count;               ///< 1 .. 1000
        const int32_t* sizes;             ///< diameters or lengths in pixels, 1 .. 512
        int64_t size_count;               ///< 0 .. 32; 0: 2, 4, 6, 8, 12, 16, 24, 32
        const int32_t* contrasts;         ///< grey levels, -255 .. 255 without 0, below 0 darker
        int64_t contrast_count;           ///< 0 .. 32; 0: -32, -16, 16, 32
        const char* const* shapes;        ///< "spot", "line-x", "line-y" or "stain"
        int64_t shape_count;              ///< 0 .. 32; 0: all but "stain"
        const char* const* places;        ///< "inside", 16 pixels or more from the region's border, or "border", within
                                          ///< 3 pixels of it
        int64_t place_count;              ///< 0 .. 32; 0: both
        uint64_t seed;                    ///< what places and order are drawn from: equal seeds give equal defects; the
                                          ///< program takes 1
        int32_t threads;                  ///< 1 .. 256, which changes no result; 0: 1
        int32_t reserved;                 ///< not read
        narvo_on_progress progress;       ///< told of the defects that were planted; null: nobody
        void* context;                    ///< handed to it
    } narvo_capability_input;

    /// What a recipe finds, in figures. Since version 4.
    typedef struct narvo_capability_figures
    {
        uint32_t size;         ///< sizeof(narvo_capability_figures)
        uint32_t reserved;     ///< 0
        int64_t warning_count; ///< sentences of narvo_capability_warning
        int64_t false_defects; ///< reported in the good images as they are
        double megapixels;     ///< of the good images that are inspected
        double false_rate;     ///< false defects a megapixel
        double false_bound;    ///< upper bound of that at 95 % confidence
    } narvo_capability_figures;

    /// How many defects of one kind were planted, and how many of them the recipe reported. Since version 4.
    typedef struct narvo_planted
    {
        uint32_t size;     ///< sizeof(narvo_planted)
        int32_t pixels;    ///< diameter or length
        int32_t contrast;  ///< grey levels
        int32_t reserved;  ///< 0
        const char* shape; ///< as narvo_capability_input names it; can be read until the capability is freed
        const char* place; ///< the same
        int64_t planted;   ///< fewer than wanted where no places were left
        int64_t found;     ///< touched by a report that was not there before
    } narvo_planted;

    /// A defect as files of other programs know it. Since version 5.
    typedef struct narvo_listed_defect
    {
        uint32_t size;    ///< sizeof(narvo_listed_defect)
        int32_t left;     ///< of its box, pixels of the image; right and bottom are exclusive
        int32_t top;      ///< the same
        int32_t right;    ///< the same
        int32_t bottom;   ///< the same
        int32_t reserved; ///< not read
        double area;      ///< pixels, 0 .. 1e18; 0: not known
        const char* kind; ///< what people call such defects; "bright" or "dark" of inspections
    } narvo_listed_defect;

    /// What KLARF says beside the defects. Texts are of up to 255 bytes without quotes and control characters; those
    /// that are null have their defaults. Since version 5.
    typedef struct narvo_klarf_head
    {
        uint32_t size;          ///< sizeof(narvo_klarf_head)
        int32_t slot;           ///< 1 .. 1000; 0: 1
        const char* station;    ///< make of the inspection station; null: "narvo"
        const char* model;      ///< its model; null: "narvo"
        const char* station_id; ///< its number; null: "1"
        const char* lot;        ///< name of the lot; null: "lot"
        const char* device;     ///< of the product; null: "device"
        const char* setup;      ///< of the recipe; null: "setup"
        const char* step;       ///< of the process step; null: "step"
        const char* wafer;      ///< of the wafer or panel; null: "1"
        const char* time;       ///< of the result, YYYY-MM-DD hh:mm:ss; null: the first second of 2000
        double pixel_size;      ///< micrometres that a pixel is wide and high, 0.01 .. 1000; 0: 1
    } narvo_klarf_head;

    /// A true defect as a box. Since version 5.
    typedef struct narvo_true_box
    {
        uint32_t size;    ///< sizeof(narvo_true_box)
        int32_t left;     ///< pixels; right and bottom are exclusive; what lies outside of the image is cut off
        int32_t top;      ///< the same
        int32_t right;    ///< the same
        int32_t bottom;   ///< the same
        int32_t reserved; ///< not read
        const char* kind; ///< for people, such as "scratch"
    } narvo_true_box;

    /// An image of a set. Its texts can be read until the set is freed; those that do not apply are empty. Since
    /// version 5.
    typedef struct narvo_set_image
    {
        uint32_t size;         ///< sizeof(narvo_set_image)
        int32_t defective;     ///< 1: it has defects, whose places need not be known; 0: it has none
        const char* name;      ///< file name below the folder
        const char* file;      ///< the image
        const char* reference; ///< the good image that it is compared with
        const char* mask;      ///< painted defects
    } narvo_set_image;

    // --- problems ---

    /// How many reasons the last failure in this thread had. Calls that succeed set it to 0, except
    /// narvo_problem_count, narvo_problem_get, narvo_c_version and functions that free a handle, which leave the
    /// problems as they are.
    NARVO_C_API int64_t narvo_problem_count(void);
    /// Fills `problem`, whose size is set, with reason `index`, 0 .. count - 1. Its texts can be read until this
    /// thread's next call that changes the problems. @return NARVO_REFUSED for another index, null or a wrong size; the
    /// problems stay as they are
    NARVO_C_API int32_t narvo_problem_get(int64_t index, narvo_problem* problem);

    // --- recipes ---

    /// Reads the recipe file of that name; images that it names are looked up beside it. The caller frees `*recipe`.
    /// @return NARVO_REFUSED with all that is wrong with it
    NARVO_C_API int32_t narvo_recipe_from_file(const char* file, narvo_recipe** recipe);
    /// The same from JSON text. Images that it names are looked up in `folder`, or in the current one when that is
    /// null.
    NARVO_C_API int32_t narvo_recipe_from_text(const char* json, const char* folder, narvo_recipe** recipe);
    /// Sets `*count` to the number of regions, at least 1.
    NARVO_C_API int32_t narvo_recipe_regions(const narvo_recipe* recipe, int64_t* count);
    /// JSON with every field written out. Sets `*length` to its bytes without the zero byte at the end, and writes as
    /// many of them as fit with that byte into the `capacity` bytes at `text`, which may be null when the capacity is
    /// 0.
    NARVO_C_API int32_t narvo_recipe_text(const narvo_recipe* recipe, char* text, int64_t capacity, int64_t* length);
    /// The value of a field of region 0 .. regions - 1 by its name, a dot between the levels, as JSON: "32.5" for
    /// "pitch.x", an object for "pitch". Fields that were not set have their defaults. The text comes in the manner of
    /// narvo_recipe_text. Since version 3. @return NARVO_REFUSED for a field or region that the recipe does not have
    NARVO_C_API int32_t narvo_recipe_value(const narvo_recipe* recipe, int64_t region, const char* field, char* text,
                                           int64_t capacity, int64_t* length);
    /// A region in a few words: "float mode with a polygon, pitch 32.5 by 24 pixels". As narvo_recipe_value.
    NARVO_C_API int32_t narvo_recipe_summary(const narvo_recipe* recipe, int64_t region, char* text, int64_t capacity,
                                             int64_t* length);
    /// Writes a recipe file, and beside it the images that the recipe holds, such as painted zones, under the file's
    /// name with endings as ".zones.png". @return NARVO_REFUSED when a file cannot be written, or for several regions
    NARVO_C_API int32_t narvo_recipe_save(const narvo_recipe* recipe, const char* file);
    /// Whether images of that size, in pixels, can be inspected. @return NARVO_REFUSED with every reason why not
    NARVO_C_API int32_t narvo_recipe_check_size(const narvo_recipe* recipe, int32_t width, int32_t height);
    /// Frees a recipe. @return NARVO_REFUSED for a handle that is none of a recipe
    NARVO_C_API int32_t narvo_recipe_free(narvo_recipe* recipe);

    // --- recipes that are built field by field ---
    //
    // Fields have the names of the JSON form, a dot between the levels: "pitch.x", "mode", "threshold.base". Values are
    // checked by narvo_draft_check and not before, so the order of calls is free. A field that is set twice keeps the
    // last value.

    /// Makes an empty draft. The caller frees `*draft`.
    NARVO_C_API int32_t narvo_draft_create(narvo_draft** draft);
    /// Makes a draft of region 0 .. regions - 1 of a recipe, to change some of its fields. Since version 3.
    NARVO_C_API int32_t narvo_draft_from_recipe(const narvo_recipe* recipe, int64_t region, narvo_draft** draft);
    /// Sets a number, in the field's unit and range.
    NARVO_C_API int32_t narvo_draft_set_number(narvo_draft* draft, const char* field, double value);
    /// Sets a whole number.
    NARVO_C_API int32_t narvo_draft_set_integer(narvo_draft* draft, const char* field, int32_t value);
    /// Sets a switch. @return NARVO_REFUSED for values other than 0 and 1
    NARVO_C_API int32_t narvo_draft_set_switch(narvo_draft* draft, const char* field, int32_t value);
    /// Sets a word, such as that of "mode", or the name of a file.
    NARVO_C_API int32_t narvo_draft_set_text(narvo_draft* draft, const char* field, const char* text);
    /// Sets a list or an object, as JSON: "zones.list" to "[{\"index\": 1, \"offset\": 12}]".
    /// @return NARVO_REFUSED for text that is no JSON
    NARVO_C_API int32_t narvo_draft_set_json(narvo_draft* draft, const char* field, const char* json);
    /// Sets a list of `count` numbers, 0 .. 1048576, such as "scan_pitches"; copied. `values` may be null when there
    /// are none.
    NARVO_C_API int32_t narvo_draft_set_list(narvo_draft* draft, const char* field, const double* values,
                                             int64_t count);
    /// The painted cell: the value of a pixel is its zone. 8 bits; copied.
    NARVO_C_API int32_t narvo_draft_set_zone_image(narvo_draft* draft, const narvo_image* cell);
    /// The painted classes of one cell, 0 .. 15, which the extended kernels take. As narvo_draft_set_zone_image.
    NARVO_C_API int32_t narvo_draft_set_class_image(narvo_draft* draft, const narvo_image* cell);
    /// Painted dead places of the whole image, other than 0 where nothing is to be reported. 8 bits; copied.
    NARVO_C_API int32_t narvo_draft_set_dead_image(narvo_draft* draft, const narvo_image* dead);
    /// A map of the whole region, one of narvo_region_map, of the size of the region and of the maps set before;
    /// copied. For
    /// recipes in zone mode, in place of a painted cell. Maps are no part of narvo_recipe_text and narvo_recipe_save.
    /// @return NARVO_REFUSED for a size or stride that does not fit, or with the first value outside the map's range
    NARVO_C_API int32_t narvo_draft_set_region_map(narvo_draft* draft, int32_t map, const narvo_map_values* values);
    /// Checks the draft, which stays as it is, and makes a recipe of it. The caller frees `*recipe`.
    /// @return NARVO_REFUSED with all that is wrong
    NARVO_C_API int32_t narvo_draft_check(const narvo_draft* draft, narvo_recipe** recipe);
    /// Frees a draft. @return NARVO_REFUSED for a handle that is none of a draft
    NARVO_C_API int32_t narvo_draft_free(narvo_draft* draft);

    // --- images from files, and of colours; since version 4 ---
    //
    // A picture has grey pixels, and where its rules inspect each colour, those of red, green and blue beside them.
    // Every function that takes a narvo_image takes the view of a picture that narvo_picture_image gives.

    /// Makes rules of the members of a recipe's section `image`, as JSON: "{\"channel\": \"green\"}". Flat and dark
    /// fields that it names are read from `folder`, or from the current one when that is null. The caller frees
    /// `*rules`.
    /// @return NARVO_REFUSED with all that is wrong: no JSON, unknown fields, values out of their range, fields that
    /// cannot be read
    NARVO_C_API int32_t narvo_rules_from_text(const char* json, const char* folder, narvo_rules** rules);
    /// Makes the rules of a recipe, all regions of which read images alike. The caller frees `*rules`.
    NARVO_C_API int32_t narvo_rules_of(const narvo_recipe* recipe, narvo_rules** rules);
    /// Sets `*raw` to 1 where they name the packing of frames without a header, so that files hold such frames, and
    /// `*each_colour` to 1 where red, green and blue are inspected one by one; to 0 otherwise.
    NARVO_C_API int32_t narvo_rules_get(const narvo_rules* rules, int32_t* raw, int32_t* each_colour);
    /// Frees rules. @return NARVO_REFUSED for a handle that is none of rules
    NARVO_C_API int32_t narvo_rules_free(narvo_rules* rules);

    /// Reads PNG, TIFF, BMP, PGM or JPEG, or a frame without a header where the rules name its packing. `rules` may be
    /// null: colours become their luma, and the whole range of deeper pixels becomes 0 .. 255. A file of more than
    /// `max_pixels` pixels, 1 .. 1073741824, or 0 for 268435456, is refused before it is decoded. The caller frees
    /// `*picture`.
    /// @return NARVO_REFUSED naming the file when it cannot be read, is no image, is too large or does not fit the
    /// rules
    NARVO_C_API int32_t narvo_picture_from_file(const char* file, const narvo_rules* rules, int64_t max_pixels,
                                                narvo_picture** picture);
    /// The same of pixels in memory, which are copied. `name` stands for them in problems and notes; null: "pixels".
    NARVO_C_API int32_t narvo_picture_from_pixels(const narvo_pixel_array* pixels, const narvo_rules* rules,
                                                  const char* name, narvo_picture** picture);
    /// The same of the `count` bytes of a frame, from its first one, before the offset that the rules may name.
    /// @return NARVO_REFUSED when the rules name no packing, or the frame has another length
    NARVO_C_API int32_t narvo_picture_from_frame(const uint8_t* bytes, int64_t count, const narvo_rules* rules,
                                                 const char* name, narvo_picture** picture);
    /// Sets `*channels` to 1, or to 3 where red, green and blue are inspected one by one.
    NARVO_C_API int32_t narvo_picture_channels(const narvo_picture* picture, int32_t* channels);
    /// Fills `image`, whose size is set, with where the grey pixels lie (`channel` -1), or those of red (0), green (1)
    /// or blue (2). It can be read until the picture is freed, by any number of calls.
    /// @return NARVO_REFUSED for a channel that the picture does not have
    NARVO_C_API int32_t narvo_picture_image(const narvo_picture* picture, int32_t channel, narvo_image* image);
    /// Sets `*count` to the number of notes: what was lost on the way to grey where no rule asks for it, such as
    /// colour, depth or saturated pixels.
    NARVO_C_API int32_t narvo_picture_notes(const narvo_picture* picture, int64_t* count);
    /// Sets `*text` to note 0 .. count - 1, a sentence, which can be read until the picture is freed.
    NARVO_C_API int32_t narvo_picture_note(const narvo_picture* picture, int64_t index, const char** text);
    /// Frees a picture. @return NARVO_REFUSED for a handle that is none of a picture
    NARVO_C_API int32_t narvo_picture_free(narvo_picture* picture);
    /// Writes 8-bit pixels of one channel or of three in the format that the file name's ending says: up to 2147483639
    /// grey pixels, whatever the sides, or sides of up to 65500 in colour. A file of that name is replaced.
    /// @return NARVO_REFUSED with what is not valid of the pixels, naming the file when it cannot be written, or for an
    /// ending that is none of an image format
    NARVO_C_API int32_t narvo_save_image(const char* file, const narvo_pixel_array* pixels);

    // --- inspections ---

    /// Makes an inspector of `lanes` images at once, 1 .. 256. Further lanes take memory when they are first used. The
    /// caller frees `*inspector`.
    NARVO_C_API int32_t narvo_inspector_create(int32_t lanes, narvo_inspector** inspector);
    /// Sets `*lanes` to the number that the inspector was made with.
    NARVO_C_API int32_t narvo_inspector_lanes(const narvo_inspector* inspector, int32_t* lanes);
    /// Inspects all regions of the recipe. Any number of threads may call it with one inspector and one recipe: each
    /// call takes a free lane and waits while there is none. Results do not depend on the lane or on the calls before.
    /// The caller frees `*reports`. @return NARVO_REFUSED when the image is not valid or the recipe does not suit its
    /// size
    NARVO_C_API int32_t narvo_inspect(narvo_inspector* inspector, const narvo_recipe* recipe, const narvo_image* image,
                                      narvo_reports** reports);
    /// The same, keeping the answers that defects are made of, which narvo_reports_answers has. Since version 4.
    NARVO_C_API int32_t narvo_inspect_fully(narvo_inspector* inspector, const narvo_recipe* recipe,
                                            const narvo_image* image, narvo_reports** reports);
    /// The same of a picture, whose red, green and blue are inspected where the recipe asks for each colour. With
    /// `answers` 1, answers are kept; with 0 they are not. Since version 4.
    /// @return NARVO_REFUSED as narvo_inspect, and for a picture with colours where the recipe does not inspect each
    NARVO_C_API int32_t narvo_inspect_picture(narvo_inspector* inspector, const narvo_recipe* recipe,
                                              const narvo_picture* picture, int32_t answers, narvo_reports** reports);
    /// Frees an inspector. @return NARVO_REFUSED for a handle that is none of an inspector
    NARVO_C_API int32_t narvo_inspector_free(narvo_inspector* inspector);

    // --- reports ---

    /// Sets `*count` to the number of reports, one for each region in the order of the recipe.
    NARVO_C_API int32_t narvo_reports_count(const narvo_reports* reports, int64_t* count);
    /// Fills `report`, whose size is set, with that of a region, 0 .. count - 1.
    NARVO_C_API int32_t narvo_reports_get(const narvo_reports* reports, int64_t region, narvo_report* report);
    /// Fills the array `defects` with the defects of a region by their numbers, as many as there are or as `capacity`
    /// has room for, and sets `*count` to how many there are. `record_size` is sizeof(narvo_defect), the bytes from one
    /// record of the array to the next; their size members need not be set. `defects` may be null when the capacity is
    /// 0.
    NARVO_C_API int32_t narvo_reports_defects(const narvo_reports* reports, int64_t region, uint32_t record_size,
                                              narvo_defect* defects, int64_t capacity, int64_t* count);
    /// Sets `*text` to warning 0 .. warning_count - 1 of a region, a sentence, which can be read until the reports are
    /// freed.
    NARVO_C_API int32_t narvo_reports_warning(const narvo_reports* reports, int64_t region, int64_t index,
                                              const char** text);
    /// Fills the array `answers` with the answers of a region, in the manner of narvo_reports_defects and in no order
    /// that means something. Since version 4.
    /// @return NARVO_REFUSED for reports that keep none: those of narvo_inspect_fully and narvo_inspect_picture do
    NARVO_C_API int32_t narvo_reports_answers(const narvo_reports* reports, int64_t region, uint32_t record_size,
                                              narvo_answer* answers, int64_t capacity, int64_t* count);
    /// Fills the array `colours` with the colour that shows each defect most, as many as there are defects or as
    /// `capacity` has room for, and sets `*count` to how many there are: 1 red, 2 green, 3 blue; 0 where colours were
    /// not inspected one by one. Since version 4.
    NARVO_C_API int32_t narvo_reports_colours(const narvo_reports* reports, int64_t region, int32_t* colours,
                                              int64_t capacity, int64_t* count);
    /// Fills `registration`, whose size is set. @return NARVO_REFUSED for reports that are not of narvo_golden_inspect
    /// or narvo_golden_inspect_picture, as the other functions of golden reports
    NARVO_C_API int32_t narvo_reports_registration(const narvo_reports* reports, narvo_registration* registration);
    /// Fills the array `places` with the places of the defects in the first golden reference, in the order and manner
    /// of narvo_reports_defects. @return NARVO_REFUSED for reports that are not of narvo_golden_inspect
    NARVO_C_API int32_t narvo_reports_places(const narvo_reports* reports, uint32_t record_size, narvo_place* places,
                                             int64_t capacity, int64_t* count);
    /// Sets `*text` to all that came out of a region as JSON, as the program `narvo` writes it, with the warnings that
    /// narvo_reports_warning has; defects are called blobs there. Of reports of narvo_golden_inspect, it is the JSON of
    /// a golden inspection. It can be read until the reports are freed. Since version 3.
    NARVO_C_API int32_t narvo_reports_json(const narvo_reports* reports, int64_t region, const char** text);
    /// The same as comma separated values: a header line, and a line for each defect.
    NARVO_C_API int32_t narvo_reports_csv(const narvo_reports* reports, int64_t region, const char** text);
    /// Draws the defects of a region into the inspected image and writes the picture in the format that the file name's
    /// ending says: the region framed green, dark defects cyan, bright ones orange, each with its number. A file of
    /// that name is replaced. Since version 3.
    /// @return NARVO_REFUSED when the image is not valid or of another size than the inspected one, naming the file
    /// when it cannot be written, or for an ending that is none of an image format
    NARVO_C_API int32_t narvo_reports_save_overlay(const narvo_reports* reports, int64_t region,
                                                   const narvo_image* image, const char* file);
    /// Sets `*reference_x` and `*reference_y` to the place in the first golden reference of a place in the image, local
    /// corrections included; whole numbers are centres of pixels. It may lie outside. Since version 3.
    /// @return NARVO_REFUSED for reports that are not of narvo_golden_inspect
    NARVO_C_API int32_t narvo_reports_map(const narvo_reports* reports, double x, double y, double* reference_x,
                                          double* reference_y);
    /// Makes a picture of the model's mean as the inspected image should show it, in its light and size (`which` 0), or
    /// of the grey levels that each pixel's difference must exceed, 255 where nothing was compared (1). Of colours,
    /// their grey. The caller frees `*picture`. Since version 4.
    /// @return NARVO_REFUSED for reports that are not of narvo_golden_inspect_picture with `pictures` 1
    NARVO_C_API int32_t narvo_reports_golden_picture(const narvo_reports* reports, int32_t which,
                                                     narvo_picture** picture);
    /// Frees reports, and with them the texts that they returned. @return NARVO_REFUSED for a handle that is none of
    /// reports
    NARVO_C_API int32_t narvo_reports_free(narvo_reports* reports);

    // --- the pitch of a pattern, and a first recipe ---

    /// Searches an image for the periods of its pattern, in `region`, or in the whole image when that is null; its
    /// sides are 64 pixels or more, periods 3 pixels to a third of a side. The caller frees `*proposal`.
    NARVO_C_API int32_t narvo_propose(const narvo_image* image, const narvo_box* region, narvo_proposal** proposal);
    /// Fills `axis`, whose size is set, with what was found along x (`along` 0) or y (1).
    NARVO_C_API int32_t narvo_proposal_axis(const narvo_proposal* proposal, int32_t along, narvo_pitch_axis* axis);
    /// Sets `*recipe` to a recipe for whole images of that pattern, which the caller frees, or to null where the image
    /// shows no pattern that repeats, which is no failure.
    NARVO_C_API int32_t narvo_proposal_recipe(const narvo_proposal* proposal, narvo_recipe** recipe);
    /// Sets `*count` to the number of notes: what to know before relying on the recipe; 0 where all is well.
    NARVO_C_API int32_t narvo_proposal_notes(const narvo_proposal* proposal, int64_t* count);
    /// Sets `*text` to note 0 .. count - 1, a sentence, which can be read until the proposal is freed.
    NARVO_C_API int32_t narvo_proposal_note(const narvo_proposal* proposal, int64_t index, const char** text);
    /// Frees a proposal. @return NARVO_REFUSED for a handle that is none of a proposal
    NARVO_C_API int32_t narvo_proposal_free(narvo_proposal* proposal);

    // --- golden inspection: patterns that do not repeat ---

    /// Makes a model of `count` good images, 1 .. 65536, of which the further are registered to the first, for
    /// `lanes` images at once, 1 .. 256. The caller frees `*golden`. Of images of more than 8 bits, the whole range
    /// that `bits` says becomes 8-bit grey. The `setting_count` settings, 0 .. 65536, may be null when there are none:
    ///
    /// | name | unit | range | default |
    /// |---|---|---|---|
    /// | max_shift | pixels along x and y of the image's centre | 0 .. 1024 | 32 |
    /// | max_rotation | degrees | 0 .. 10 | 1 |
    /// | max_scale | percent, of scale and shear | 0 .. 10 | 2 |
    /// | mesh_spacing | pixels between nodes of the local correction, whole | 16 .. 1024, or 0 for none | 64 |
    /// | min_correlation | of image and registered reference | 0 .. 1 | 0.7 |
    /// | edge_tolerance | pixels by which an edge may lie elsewhere | 0 .. 16 | 2 |
    /// | threshold | grey levels, whole; 0: from the noise of each image | 0 .. 255 | 0 |
    /// | min_pixels | pixels, whole: smaller defects are not reported | 1 .. 1000000 | 5 |
    /// | max_blobs | room for defects, whole | 1 .. 1000000 | 20000 |
    ///
    /// The records of an array lie one after the other and have one size.
    /// @return NARVO_REFUSED when settings or images are not valid, without structure to register by, or not alike
    NARVO_C_API int32_t narvo_golden_create(const narvo_image* references, int64_t count, const narvo_setting* settings,
                                            int64_t setting_count, int32_t lanes, narvo_golden** golden);
    /// The same, telling `progress` of each further reference; null: nobody. `context` is handed to it. Since
    /// version 2.
    /// @return NARVO_STOPPED where it asked for that; otherwise as narvo_golden_create
    NARVO_C_API int32_t narvo_golden_create_told(const narvo_image* references, int64_t count,
                                                 const narvo_setting* settings, int64_t setting_count, int32_t lanes,
                                                 narvo_on_progress progress, void* context, narvo_golden** golden);
    /// The same of pictures. Where all have colours, red, green and blue are compared one by one, each registered as
    /// the whole image is. Since version 4.
    NARVO_C_API int32_t narvo_golden_from_pictures(const narvo_picture* const* references, int64_t count,
                                                   const narvo_setting* settings, int64_t setting_count, int32_t lanes,
                                                   narvo_on_progress progress, void* context, narvo_golden** golden);
    /// Fills the array `settings` with all settings and their defaults, in the manner of narvo_reports_defects; their
    /// names can always be read. Since version 4.
    NARVO_C_API int32_t narvo_golden_defaults(uint32_t record_size, narvo_setting* settings, int64_t capacity,
                                              int64_t* count);
    /// Makes a handle of the same model with lanes of its own, 1 .. 256, and with the mask as it is now: for another
    /// team of threads, or for a process that was forked off while threads of its parent inspected. The caller frees
    /// `*shared`. Since version 4.
    NARVO_C_API int32_t narvo_golden_share(const narvo_golden* golden, int32_t lanes, narvo_golden** shared);
    /// Fills the array `registrations` with how the first reference lies on each further one, in the manner of
    /// narvo_reports_defects. Their models can be read until the golden model is freed; thresholds, masked, compared
    /// and edge_growth are 0. Since version 4.
    NARVO_C_API int32_t narvo_golden_registrations(const narvo_golden* golden, uint32_t record_size,
                                                   narvo_registration* registrations, int64_t capacity, int64_t* count);
    /// Sets `*reference_x` and `*reference_y` to the place in the further reference `index`, 0 .. count - 1 of
    /// narvo_golden_registrations, of a place in the first. As narvo_reports_map. Since version 4.
    NARVO_C_API int32_t narvo_golden_map(const narvo_golden* golden, int64_t index, double x, double y,
                                         double* reference_x, double* reference_y);
    /// Painted places of the first reference, other than 0 where no defect is to be reported whose peak lies there; of
    /// its size, 8 bits; copied. Null takes the mask away. Inspections that have begun keep the mask that they began
    /// with.
    NARVO_C_API int32_t narvo_golden_set_mask(narvo_golden* golden, const narvo_image* mask);
    /// Registers an image to the model and inspects it, with one report. Its size may differ from the reference's: the
    /// smaller is sought all over the larger. Any number of threads may call it with one model, as narvo_inspect. The
    /// caller frees `*reports`.
    /// @return NARVO_REFUSED when the image is not valid, has no structure, or is not alike enough within the settings
    NARVO_C_API int32_t narvo_golden_inspect(const narvo_golden* golden, const narvo_image* image,
                                             narvo_reports** reports);
    /// The same of a picture: of red, green and blue one by one where model and picture have them, otherwise of grey.
    /// With `pictures` 1, the reports keep what it was compared with, two bytes a pixel, which
    /// narvo_reports_golden_picture has; with 0 they do not. Since version 4.
    NARVO_C_API int32_t narvo_golden_inspect_picture(const narvo_golden* golden, const narvo_picture* picture,
                                                     int32_t pictures, narvo_reports** reports);
    /// The mean of the references in the first one's place (`which` 0), or the grey levels that a good image may differ
    /// from it (1). Sets `*width` and `*height`, and fills the `capacity` bytes at `pixels` with as many pixels as fit,
    /// row by row without gaps; they may be null when the capacity is 0.
    NARVO_C_API int32_t narvo_golden_picture(const narvo_golden* golden, int32_t which, uint8_t* pixels,
                                             int64_t capacity, int32_t* width, int32_t* height);
    /// Frees a model. @return NARVO_REFUSED for a handle that is none of a golden model
    NARVO_C_API int32_t narvo_golden_free(narvo_golden* golden);

    // --- learning from good images; since version 2 ---

    /// Learns a recipe from good images alone. The caller frees `*learning`.
    /// @return NARVO_REFUSED when input or images are not valid, naming the image, or no recipe suits them;
    /// NARVO_STOPPED where `input->progress` asked for that
    NARVO_C_API int32_t narvo_learn(const narvo_learn_input* input, narvo_learning** learning);
    /// The same of the `count` good pictures, 1 .. 1000, which have `good_names`, or "good 1" and so on where that is
    /// null. Where they have colours, limits are learnt from each, and the recipe inspects each. `mode`, settings,
    /// `progress` and `context` are those of narvo_learn_input; `recipe_name` becomes the recipe's name; null: none.
    /// Since version 4.
    /// @return NARVO_REFUSED as narvo_learn, and for pictures of which some are grey and some have colours
    NARVO_C_API int32_t narvo_learn_from_pictures(const narvo_picture* const* good, const char* const* good_names,
                                                  int64_t count, const char* mode, const narvo_setting* settings,
                                                  int64_t setting_count, const char* recipe_name,
                                                  narvo_on_progress progress, void* context, narvo_learning** learning);
    /// Sets `*recipe` to the recipe, which the caller frees.
    NARVO_C_API int32_t narvo_learning_recipe(const narvo_learning* learning, narvo_recipe** recipe);
    /// Fills `learnt`, whose size is set.
    NARVO_C_API int32_t narvo_learning_get(const narvo_learning* learning, narvo_learnt* learnt);
    /// Fills the array `images` with what was learnt of each good image, in the manner of narvo_reports_defects.
    NARVO_C_API int32_t narvo_learning_images(const narvo_learning* learning, uint32_t record_size,
                                              narvo_learnt_image* images, int64_t capacity, int64_t* count);
    /// Sets `*text` to reason 0 .. reason_count - 1, a sentence: why the recipe is as it is, and what to expect of it.
    /// It can be read until the learning is freed.
    NARVO_C_API int32_t narvo_learning_reason(const narvo_learning* learning, int64_t index, const char** text);
    /// Sets `*text` to warning 0 .. warning_count - 1: where images disagree, or are too few. As a reason.
    NARVO_C_API int32_t narvo_learning_warning(const narvo_learning* learning, int64_t index, const char** text);
    /// Frees a learning. @return NARVO_REFUSED for a handle that is none of a learning
    NARVO_C_API int32_t narvo_learning_free(narvo_learning* learning);

    // --- what a recipe can find; since version 4 ---

    /// Plants defects in good images and counts those that the recipe reports, by all of its regions. The caller frees
    /// `*capability`.
    /// @return NARVO_REFUSED when input or images are not valid or the recipe does not suit an image, naming it;
    /// NARVO_STOPPED where `input->progress` asked for that
    NARVO_C_API int32_t narvo_capability_measure(const narvo_recipe* recipe, const narvo_capability_input* input,
                                                 narvo_capability** capability);
    /// Fills `figures`, whose size is set.
    NARVO_C_API int32_t narvo_capability_get(const narvo_capability* capability, narvo_capability_figures* figures);
    /// Fills the array `counts` in the manner of narvo_reports_defects, with one record for each size, by shape, place
    /// and contrast and by ascending size.
    NARVO_C_API int32_t narvo_capability_counts(const narvo_capability* capability, uint32_t record_size,
                                                narvo_planted* counts, int64_t capacity, int64_t* count);
    /// Sets `*text` to warning 0 .. warning_count - 1, a sentence: what makes the figures doubtful. It can be read
    /// until the capability is freed.
    NARVO_C_API int32_t narvo_capability_warning(const narvo_capability* capability, int64_t index, const char** text);
    /// Sets `*text` to all of it as JSON, with the sizes found at 90 % and what was set. As a warning.
    NARVO_C_API int32_t narvo_capability_json(const narvo_capability* capability, const char** text);
    /// Frees a capability. @return NARVO_REFUSED for a handle that is none of a capability
    NARVO_C_API int32_t narvo_capability_free(narvo_capability* capability);

    // --- why a pixel is reported, or is not; since version 2 ---

    /// Inspects an image, which is copied, by region 0 .. regions - 1 of a recipe, so that its pixels can be asked
    /// about. The caller frees `*explainer`.
    /// @return NARVO_REFUSED when the image is not valid, the recipe does not suit it, has no such region, or is in a
    /// mode whose steps cannot be followed
    NARVO_C_API int32_t narvo_explainer_create(const narvo_image* image, const narvo_recipe* recipe, int64_t region,
                                               narvo_explainer** explainer);
    /// What the inspection reports. The caller frees `*reports`, of which there is one.
    NARVO_C_API int32_t narvo_explainer_reports(const narvo_explainer* explainer, narvo_reports** reports);
    /// Frees an explainer. @return NARVO_REFUSED for a handle that is none of an explainer
    NARVO_C_API int32_t narvo_explainer_free(narvo_explainer* explainer);
    /// The way of a pixel. Any number of threads may ask one explainer, and wait for each other. The caller frees
    /// `*explanation`. @return NARVO_REFUSED for a place outside the image
    NARVO_C_API int32_t narvo_explain(const narvo_explainer* explainer, int32_t x, int32_t y,
                                      narvo_explanation** explanation);
    /// Fills `way`, whose size is set.
    NARVO_C_API int32_t narvo_explanation_get(const narvo_explanation* explanation, narvo_pixel_way* way);
    /// Sets `*text` to the same with every number that it rests on, the JSON that the program `narvo` writes. It can be
    /// read until the explanation is freed. Since version 3.
    NARVO_C_API int32_t narvo_explanation_json(const narvo_explanation* explanation, const char** text);
    /// Frees an explanation. @return NARVO_REFUSED for a handle that is none of an explanation
    NARVO_C_API int32_t narvo_explanation_free(narvo_explanation* explanation);

    // --- rows without end; since version 2 ---

    /// Makes a stream of rows of `width` pixels, 1 .. 32000, that a recipe of one region over the whole width inspects.
    /// However the rows are cut into pieces, the defects are those that one inspection of the whole image reports, but
    /// for their order and numbers and for what the counts and warnings say. The caller frees `*stream`. Settings, all
    /// whole:
    ///
    /// | name | unit | range | default |
    /// |---|---|---|---|
    /// | window_rows | rows inspected in one call; less shortens the delay | a few pitches .. 10000; 0 chooses | 0 |
    /// | largest_blob | rows that a defect may have; taller ones are cut, and counted | 1 .. 1000000 | 1024 |
    /// | max_open_pairs | answers that may wait; with more, all are reported, and counted | 1 .. 10000000 | 100000 |
    /// | camera_rows | 1: rows of 8 bits are the camera's, and the recipe's section image applies to them | 0, 1 | 0 |
    ///
    /// @return NARVO_REFUSED with everything that a stream cannot do: modes other than zone, pixel and float, fields
    /// that give places by rows, mosaics and light fields of more than a row, several regions, settings out of their
    /// range
    NARVO_C_API int32_t narvo_stream_create(const narvo_recipe* recipe, int32_t width, const narvo_setting* settings,
                                            int64_t setting_count, narvo_stream** stream);
    /// Sets `*rows` to the rows between a row's arrival and the report of a defect that begins there, at most.
    NARVO_C_API int32_t narvo_stream_delay(const narvo_stream* stream, int64_t* rows);
    /// The next rows: an image of the stream's width and of any height. Threads that push wait for each other.
    /// @return NARVO_REFUSED for rows that are none or of another width, behind the end, and where 1000000 defects wait
    /// to be taken; then no row was taken. After NARVO_NO_MEMORY the stream is over
    NARVO_C_API int32_t narvo_stream_push(narvo_stream* stream, const narvo_image* rows);
    /// The last row has come: reports all that is left. Further calls do nothing.
    /// @return NARVO_REFUSED where fewer rows came than the recipe can inspect, and then more may be pushed
    NARVO_C_API int32_t narvo_stream_finish(narvo_stream* stream);
    /// Takes the defects that are final, at most `capacity` of them, in the order of their reports, and sets `*count`
    /// to how many they are: with less than the capacity, none is left. `record_size` as in narvo_reports_defects.
    /// `rows` gets the first row of each, counted from the first row of the stream; rows of its box and places count
    /// from that row. Both arrays may be null when the capacity is 0.
    NARVO_C_API int32_t narvo_stream_take(narvo_stream* stream, uint32_t record_size, narvo_defect* defects,
                                          int64_t* rows, int64_t capacity, int64_t* count);
    /// Fills `counts`, whose size is set.
    NARVO_C_API int32_t narvo_stream_get(const narvo_stream* stream, narvo_stream_counts* counts);
    /// Sets `*count` to the number of warnings as of now: what recipe and counts say against exactness.
    NARVO_C_API int32_t narvo_stream_warnings(narvo_stream* stream, int64_t* count);
    /// Sets `*text` to warning 0 .. count - 1, a sentence, which can be read until the stream is freed or the next
    /// narvo_stream_warnings of it.
    NARVO_C_API int32_t narvo_stream_warning(const narvo_stream* stream, int64_t index, const char** text);
    /// Frees a stream. @return NARVO_REFUSED for a handle that is none of a stream
    NARVO_C_API int32_t narvo_stream_free(narvo_stream* stream);

    // --- results in a database; since version 3 ---
    //
    // A call that writes is one transaction: all of it is there once the call has returned, whatever happens to the
    // program or the machine, or nothing. Threads that call with one store wait for each other.

    /// Opens a store: a file of SQLite, or "postgresql://USER@HOST/DATABASE". With `writing` 1, a store is made where
    /// there is none, and one of an older version is brought up to date; with 0 it is only read. The caller frees
    /// `*store`.
    /// @return NARVO_REFUSED where the database cannot be reached, holds something else or a store of a newer version,
    /// or is of a kind that the library was built without
    NARVO_C_API int32_t narvo_store_open(const char* place, int32_t writing, narvo_store** store);
    /// Begins a run of images that a recipe inspects, and sets `*run` to its number. `key` is its name in the store,
    /// `recipe_name` what people call the recipe, `program` what writes, with its version. `start` says what holds
    /// where there is a run of that key: 0 refuses it, 1 removes it first, 2 goes on behind it, if it was made by the
    /// same recipe.
    NARVO_C_API int32_t narvo_store_begin(narvo_store* store, const char* key, const narvo_recipe* recipe,
                                          const char* recipe_name, const char* program, int32_t start, int64_t* run);
    /// Adds the `count` images, 0 .. 65536, to a run: all of them, or none. The records lie one after the other and
    /// have one size. An image whose name is there already takes that one's place.
    NARVO_C_API int32_t narvo_store_add(narvo_store* store, int64_t run, const narvo_stored_image* images,
                                        int64_t count);
    /// Fills the array `runs` in the manner of narvo_reports_defects, in the order in which they began.
    NARVO_C_API int32_t narvo_store_runs(narvo_store* store, uint32_t record_size, narvo_stored_run* runs,
                                         int64_t capacity, int64_t* count);
    /// Hands the images of a run to `take`, one at a time and in their order; none for a number that no run has.
    /// `context` is handed to it. Times of reports are not kept.
    /// @return NARVO_STOPPED where `take` asked for that
    NARVO_C_API int32_t narvo_store_images(narvo_store* store, int64_t run, narvo_on_image take, void* context);
    /// Frees a store. @return NARVO_REFUSED for a handle that is none of a store
    NARVO_C_API int32_t narvo_store_free(narvo_store* store);

    // --- findings; since version 5 ---

    /// Sets `*text` to all that was found as JSON, whose members the call that made the findings names. It can be read
    /// until the findings are freed.
    NARVO_C_API int32_t narvo_findings_json(const narvo_findings* findings, const char** text);
    /// Sets `*text` to the same for a person, in lines, as the program `narvo` prints it. As narvo_findings_json.
    NARVO_C_API int32_t narvo_findings_text(const narvo_findings* findings, const char** text);
    /// Frees findings. @return NARVO_REFUSED for a handle that is none of findings
    NARVO_C_API int32_t narvo_findings_free(narvo_findings* findings);

    // --- what many images have in common; since version 5 ---
    //
    // Threads that call with one lot wait for each other.

    /// Makes a lot without images, for what a recipe inspects. `recipe_name` is what people call the recipe; null: it
    /// has no name. The caller frees `*lot`.
    NARVO_C_API int32_t narvo_lot_create(const narvo_recipe* recipe, const char* recipe_name, narvo_lot** lot);
    /// Makes a lot of the images of the `count` runs of a store, 0 .. 65536, that have the keys `runs`, in the order in
    /// which the runs began; with a count of 0, of the latest run. The caller frees `*lot`.
    /// @return NARVO_REFUSED where the store has no such run or none at all, the runs were made by different recipes,
    /// or they hold more than 10000000 images or defects
    NARVO_C_API int32_t narvo_lot_from_store(narvo_store* store, const char* const* runs, int64_t count,
                                             narvo_lot** lot);
    /// The same of all runs that were made by the recipe of the latest one.
    NARVO_C_API int32_t narvo_lot_of_latest_recipe(narvo_store* store, narvo_lot** lot);
    /// Adds an image behind all others, with the reports of its inspection by the lot's recipe, or with the problems
    /// for which it was not inspected. `sequence` and `inspected` of the record are not read.
    /// @return NARVO_REFUSED for an image that a store would refuse as well, or one too many
    NARVO_C_API int32_t narvo_lot_add(narvo_lot* lot, const narvo_stored_image* image);
    /// Sets `*count` to the number of images so far.
    NARVO_C_API int32_t narvo_lot_images(const narvo_lot* lot, int64_t* count);
    /// Looks for what chance does not explain: places that come back, columns, rows, areas, places in the pattern's
    /// cell, and changes from image to image. The findings are those of the program's `narvo lot`, with its JSON. More
    /// images may follow. The caller frees `*findings`. Settings:
    ///
    /// | name | unit | range | default |
    /// |---|---|---|---|
    /// | distance | pixels within which defects are at the same place, whole | 1 .. 64 | 4 |
    /// | risk | probability at which a test may report what is chance alone | 1e-9 .. 0.1 | 0.01 |
    /// | baseline | images from the first on that give the charts' limits, whole | 2 .. 10000000; 0: all | 0 |
    NARVO_C_API int32_t narvo_lot_find(const narvo_lot* lot, const narvo_setting* settings, int64_t setting_count,
                                       narvo_findings** findings);
    /// Frees a lot. @return NARVO_REFUSED for a handle that is none of a lot
    NARVO_C_API int32_t narvo_lot_free(narvo_lot* lot);

    // --- golden cells: what is wrong in every cell of a pattern alike; since version 5 ---

    /// Makes the golden cells of a recipe's regions from `count` good images, 1 .. 1000, of at least 2 by 2 cells each;
    /// several are better, since the scatter among them is allowed for later. The caller frees `*cell`.
    /// @return NARVO_REFUSED for a recipe with a region that has no pitch along both axes and no lattice, and for
    /// images that are too small or do not show the pattern, naming them as images[0]
    NARVO_C_API int32_t narvo_cell_learn(const narvo_recipe* recipe, const narvo_image* images, int64_t count,
                                         narvo_cell** cell);
    /// Reads the file that narvo_cell_save or the program's `narvo cell` wrote. The caller frees `*cell`.
    /// @return NARVO_REFUSED naming the file and the field in it
    NARVO_C_API int32_t narvo_cell_from_file(const char* file, narvo_cell** cell);
    /// Writes a JSON file. A file of that name is replaced. @return NARVO_REFUSED naming the file when that fails
    NARVO_C_API int32_t narvo_cell_save(const narvo_cell* cell, const char* file);
    /// Sets `*regions` to the number of regions, and `*images` to that of the good images.
    NARVO_C_API int32_t narvo_cell_get(const narvo_cell* cell, int64_t* regions, int64_t* images);
    /// Sets `*width` and `*height` to the places across and down the cell of a region, 0 .. regions - 1, and fills the
    /// `capacity` values at `values` with as many of its grey levels as fit, row by row without gaps; they may be null
    /// when the capacity is 0.
    NARVO_C_API int32_t narvo_cell_mean(const narvo_cell* cell, int64_t region, float* values, int64_t capacity,
                                        int32_t* width, int32_t* height);
    /// How an image of the recipe that the cell was learnt by differs in every cell. The JSON has a list `regions`,
    /// each as the program's `narvo cell` writes it. The caller frees `*findings`. Settings:
    ///
    /// | name | unit | range | default |
    /// |---|---|---|---|
    /// | least_difference | grey levels below which nothing is reported | 0 .. 255 | 2 |
    /// | tolerance | pixels by which edges may lie elsewhere | 0 .. 4 | 0.15 |
    /// | certainty | standard errors that a difference must exceed | 3 .. 100 | 6 |
    ///
    /// @return NARVO_REFUSED for a recipe with other regions or cells, and for an image that is too small or does not
    /// resemble the cell
    NARVO_C_API int32_t narvo_cell_compare(const narvo_cell* cell, const narvo_image* image, const narvo_recipe* recipe,
                                           const narvo_setting* settings, int64_t setting_count,
                                           narvo_findings** findings);
    /// Frees a golden cell. @return NARVO_REFUSED for a handle that is none of a golden cell
    NARVO_C_API int32_t narvo_cell_free(narvo_cell* cell);

    // --- defects in the files of other programs; since version 5 ---
    //
    // Threads that call with one exchange wait for each other.

    /// Makes an exchange without images. The caller frees `*exchange`.
    NARVO_C_API int32_t narvo_exchange_create(narvo_exchange** exchange);
    /// Makes one of a result file of the program `narvo` (.json, .jsonl), or of a KLARF file of any other name, with an
    /// image for each die. `pixel_size` is micrometres, 0.01 .. 1000, and counts for KLARF, whose lengths become
    /// pixels. The caller frees `*exchange`.
    /// @return NARVO_REFUSED naming the file, and the line or the field in it, with what should stand there
    NARVO_C_API int32_t narvo_exchange_read(const char* file, double pixel_size, narvo_exchange** exchange);
    /// The same of a KLARF file of any name, whose head narvo_exchange_json has as well.
    NARVO_C_API int32_t narvo_exchange_read_klarf(const char* file, double pixel_size, narvo_exchange** exchange);
    /// Adds an image, by the name of its file, with the defects of its reports.
    /// @return NARVO_REFUSED for reports of images of different sizes; nothing was added
    NARVO_C_API int32_t narvo_exchange_add_reports(narvo_exchange* exchange, const char* image,
                                                   const narvo_reports* reports);
    /// Adds an image of that size in pixels, or 0 by 0 where it is not known, with `count` defects, 0 .. 1000000. What
    /// they say is checked by narvo_exchange_save and not before.
    NARVO_C_API int32_t narvo_exchange_add_defects(narvo_exchange* exchange, const char* image, int32_t width,
                                                   int32_t height, const narvo_listed_defect* defects, int64_t count);
    /// All images as JSON, in the manner of narvo_recipe_text: a list `images` of `image`, `width`, `height` and
    /// `defects`, which have the members of narvo_listed_defect. An exchange of narvo_exchange_read_klarf has an object
    /// `klarf`, too: `version` and the members of narvo_klarf_head, absent texts empty. Bytes of names that are no
    /// UTF-8 are written as % and two hexadecimal digits.
    NARVO_C_API int32_t narvo_exchange_json(const narvo_exchange* exchange, char* text, int64_t capacity,
                                            int64_t* length);
    /// Writes all images. `form` is "klarf-1.2", "klarf-1.8", "coco" or "csv", of which `output` is the file, or "voc"
    /// or "yolo", of which it is a folder that is made where there is none. `head` counts for KLARF; null: all
    /// defaults. Files are written whole or not at all; those that are there are replaced.
    /// @return NARVO_REFUSED with all that is wrong with the images, as images[0].defects[2].box, or with the head;
    /// where "yolo" does not know an image's size, two files would have one name, or a file cannot be written
    NARVO_C_API int32_t narvo_exchange_save(const narvo_exchange* exchange, const char* form, const char* output,
                                            const narvo_klarf_head* head);
    /// Frees an exchange. @return NARVO_REFUSED for a handle that is none of an exchange
    NARVO_C_API int32_t narvo_exchange_free(narvo_exchange* exchange);

    // --- how well known defects are found; since version 5 ---

    /// Reads a folder in one of the layouts of docs/evaluation.md: folders good, defective and mask; NAME_temp,
    /// NAME_test and NAME.txt; images with boxes as COCO, Pascal VOC, YOLO or text. The caller frees `*set`.
    /// @return NARVO_REFUSED where the folder has none of these layouts, and with all that is wrong in its files
    NARVO_C_API int32_t narvo_image_set_read(const char* folder, narvo_image_set** set);
    /// Fills the array `images` with the images of a set by their names, in the manner of narvo_reports_defects.
    NARVO_C_API int32_t narvo_image_set_images(const narvo_image_set* set, uint32_t record_size,
                                               narvo_set_image* images, int64_t capacity, int64_t* count);
    /// Frees a set. @return NARVO_REFUSED for a handle that is none of a set
    NARVO_C_API int32_t narvo_image_set_free(narvo_image_set* set);

    /// Makes the truth of image `index`, 0 .. count - 1 of narvo_image_set_images, from its mask, or its boxes and the
    /// image's size. Files of more than `max_pixels`, as narvo_picture_from_file, are refused. The caller frees
    /// `*truth`. @return NARVO_REFUSED naming the file
    NARVO_C_API int32_t narvo_truth_of_set(const narvo_image_set* set, int64_t index, int64_t max_pixels,
                                           narvo_truth** truth);
    /// The same of `count` boxes, 0 .. 65536, in an image of that size; without any, of a good image. Where boxes
    /// overlap, pixels count for the later one.
    /// @return NARVO_REFUSED for sides that no image has, or a box without a pixel in it
    NARVO_C_API int32_t narvo_truth_of_boxes(const narvo_true_box* boxes, int64_t count, int32_t width, int32_t height,
                                             narvo_truth** truth);
    /// The same of a painted mask of 8 bits: connected pixels above half of its largest value are a defect of that
    /// kind; null: "defective". An empty mask is a good image's.
    NARVO_C_API int32_t narvo_truth_of_mask(const narvo_image* mask, const char* kind, narvo_truth** truth);
    /// The same of an image that is known to be defective, and nobody knows where.
    NARVO_C_API int32_t narvo_truth_of_defective(narvo_truth** truth);
    /// Sets `*defective` to 1 where there are defects, and to 0 otherwise.
    NARVO_C_API int32_t narvo_truth_get(const narvo_truth* truth, int32_t* defective);
    /// Fills the array `boxes` with the defects in the manner of narvo_reports_defects; of a mask, those around its
    /// parts; none where the places are not known. Their kinds can be read until the truth is freed.
    NARVO_C_API int32_t narvo_truth_boxes(const narvo_truth* truth, uint32_t record_size, narvo_true_box* boxes,
                                          int64_t capacity, int64_t* count);
    /// Frees a truth. @return NARVO_REFUSED for a handle that is none of a truth
    NARVO_C_API int32_t narvo_truth_free(narvo_truth* truth);

    /// Makes an evaluation of one method, for `lanes` images at once, 1 .. 256. Any number of threads may measure; the
    /// figures depend neither on the order nor on the threads. The caller frees `*evaluation`. Settings, all whole:
    ///
    /// | name | unit | range | default |
    /// |---|---|---|---|
    /// | margin | pixels by which a defect is grown; a blob that touches it finds it | 0 .. 1000 | 3 |
    /// | smallest | pixels; smaller blobs do not count | 1 .. 1000000 | 1 |
    /// | patch | side of the squares that count as images, pixels | 16 .. 65536; 0: whole images | 0 |
    NARVO_C_API int32_t narvo_evaluation_create(const narvo_setting* settings, int64_t setting_count, int32_t lanes,
                                                narvo_evaluation** evaluation);
    /// Inspects a picture by all regions of a recipe at all its thresholds times 8 down to 1/8. `name` is the image's
    /// own.
    /// @return NARVO_REFUSED as narvo_inspect_picture, for a name that is empty or another image's, and for a truth of
    /// another size; nothing is added then, and narvo_evaluation_refuse may count the image as one in which nothing is
    /// found
    NARVO_C_API int32_t narvo_evaluation_measure(narvo_evaluation* evaluation, const char* name,
                                                 const narvo_picture* picture, const narvo_recipe* recipe,
                                                 const narvo_truth* truth);
    /// The same by golden inspection. @return NARVO_REFUSED as narvo_golden_inspect_picture and
    /// narvo_evaluation_measure, and for a model with a mask
    NARVO_C_API int32_t narvo_evaluation_measure_golden(narvo_evaluation* evaluation, const char* name,
                                                        const narvo_picture* picture, const narvo_golden* golden,
                                                        const narvo_truth* truth);
    /// The same of scores of a method of the caller's own, 0 and more and 1 at its threshold, one for each pixel, row
    /// by row without gaps. Connected ones above the threshold, 5 and more, are blobs. No call keeps them.
    NARVO_C_API int32_t narvo_evaluation_measure_scores(narvo_evaluation* evaluation, const char* name,
                                                        const float* scores, int32_t width, int32_t height,
                                                        const narvo_truth* truth);
    /// Adds an image that could not be inspected for `count` problems, 1 .. 65536, one after the other and of one size.
    NARVO_C_API int32_t narvo_evaluation_refuse(narvo_evaluation* evaluation, const char* name,
                                                const narvo_problem* problems, int64_t count, const narvo_truth* truth);
    /// Sets `*count` to the number of images so far, refused ones among them.
    NARVO_C_API int32_t narvo_evaluation_images(const narvo_evaluation* evaluation, int64_t* count);
    /// The figures of the images so far, to which more may be added: what the program's `narvo evaluate` writes and
    /// prints of one method. The caller frees `*findings`. @return NARVO_REFUSED without images
    NARVO_C_API int32_t narvo_evaluation_report(const narvo_evaluation* evaluation, narvo_findings** findings);
    /// Frees an evaluation. @return NARVO_REFUSED for a handle that is none of an evaluation
    NARVO_C_API int32_t narvo_evaluation_free(narvo_evaluation* evaluation);

#ifdef __cplusplus
}
#endif

#endif
