/* SPDX-License-Identifier: MIT */
/* The records of the C interface on 64-bit machines, where programs in other languages declare them by hand: sizes and
 * offsets of the version that brought them, which later versions keep. */
#include <stddef.h>

#include <narvo/narvo_c.h>

#define SIZE(record, bytes) _Static_assert(sizeof(record) == (bytes), #record)
#define AT(record, member, bytes) _Static_assert(offsetof(record, member) == (bytes), #record "." #member)

SIZE(narvo_problem, 32);
AT(narvo_problem, size, 0);
AT(narvo_problem, reserved, 4);
AT(narvo_problem, field, 8);
AT(narvo_problem, value, 16);
AT(narvo_problem, allowed, 24);

SIZE(narvo_image, 32);
AT(narvo_image, size, 0);
AT(narvo_image, width, 4);
AT(narvo_image, height, 8);
AT(narvo_image, bits, 12);
AT(narvo_image, stride, 16);
AT(narvo_image, pixels, 24);

SIZE(narvo_report, 64);
AT(narvo_report, size, 0);
AT(narvo_report, code, 4);
AT(narvo_report, vertical, 8);
AT(narvo_report, overflowed, 12);
AT(narvo_report, left, 16);
AT(narvo_report, top, 20);
AT(narvo_report, right, 24);
AT(narvo_report, bottom, 28);
AT(narvo_report, milliseconds, 32);
AT(narvo_report, name, 40);
AT(narvo_report, defect_count, 48);
AT(narvo_report, warning_count, 56);

SIZE(narvo_defect, 136);
AT(narvo_defect, size, 0);
AT(narvo_defect, number, 4);
AT(narvo_defect, bright, 8);
AT(narvo_defect, band, 12);
AT(narvo_defect, single, 16);
AT(narvo_defect, area, 20);
AT(narvo_defect, left, 24);
AT(narvo_defect, top, 28);
AT(narvo_defect, right, 32);
AT(narvo_defect, bottom, 36);
AT(narvo_defect, center_x, 40);
AT(narvo_defect, center_y, 44);
AT(narvo_defect, peak_x, 48);
AT(narvo_defect, peak_y, 52);
AT(narvo_defect, peak, 56);
AT(narvo_defect, max_difference, 60);
AT(narvo_defect, mean_difference, 64);
AT(narvo_defect, mean_grey, 68);
AT(narvo_defect, mean_reference, 72);
AT(narvo_defect, zone, 76);
AT(narvo_defect, scale, 80);
AT(narvo_defect, label, 84);
AT(narvo_defect, diameter, 88);
AT(narvo_defect, reserved, 92);
AT(narvo_defect, angle, 96);
AT(narvo_defect, major_axis, 104);
AT(narvo_defect, minor_axis, 112);
AT(narvo_defect, circularity, 120);
AT(narvo_defect, elongation, 128);

SIZE(narvo_box, 20);
AT(narvo_box, size, 0);
AT(narvo_box, left, 4);
AT(narvo_box, top, 8);
AT(narvo_box, right, 12);
AT(narvo_box, bottom, 16);

SIZE(narvo_pitch_axis, 56);
AT(narvo_pitch_axis, size, 0);
AT(narvo_pitch_axis, found, 4);
AT(narvo_pitch_axis, periods, 8);
AT(narvo_pitch_axis, reserved, 12);
AT(narvo_pitch_axis, pitch, 16);
AT(narvo_pitch_axis, measured, 24);
AT(narvo_pitch_axis, confidence, 32);
AT(narvo_pitch_axis, other_pitch, 40);
AT(narvo_pitch_axis, other_strength, 48);

SIZE(narvo_map_values, 32);
AT(narvo_map_values, size, 0);
AT(narvo_map_values, width, 4);
AT(narvo_map_values, height, 8);
AT(narvo_map_values, reserved, 12);
AT(narvo_map_values, stride, 16);
AT(narvo_map_values, values, 24);

SIZE(narvo_setting, 24);
AT(narvo_setting, size, 0);
AT(narvo_setting, reserved, 4);
AT(narvo_setting, name, 8);
AT(narvo_setting, value, 16);

SIZE(narvo_registration, 120);
AT(narvo_registration, size, 0);
AT(narvo_registration, at_limit, 4);
AT(narvo_registration, threshold, 8);
AT(narvo_registration, edge_threshold, 12);
AT(narvo_registration, masked, 16);
AT(narvo_registration, reserved, 20);
AT(narvo_registration, model, 24);
AT(narvo_registration, shift_x, 32);
AT(narvo_registration, shift_y, 40);
AT(narvo_registration, rotation, 48);
AT(narvo_registration, scale_x, 56);
AT(narvo_registration, scale_y, 64);
AT(narvo_registration, shear, 72);
AT(narvo_registration, largest_local, 80);
AT(narvo_registration, correlation, 88);
AT(narvo_registration, overlap, 96);
AT(narvo_registration, compared, 104);
AT(narvo_registration, edge_growth, 112);

SIZE(narvo_place, 40);
AT(narvo_place, size, 0);
AT(narvo_place, left, 4);
AT(narvo_place, top, 8);
AT(narvo_place, right, 12);
AT(narvo_place, bottom, 16);
AT(narvo_place, reserved, 20);
AT(narvo_place, center_x, 24);
AT(narvo_place, center_y, 32);

SIZE(narvo_learn_input, 112);
AT(narvo_learn_input, size, 0);
AT(narvo_learn_input, reserved, 4);
AT(narvo_learn_input, good, 8);
AT(narvo_learn_input, good_names, 16);
AT(narvo_learn_input, good_count, 24);
AT(narvo_learn_input, defective, 32);
AT(narvo_learn_input, defective_names, 40);
AT(narvo_learn_input, defective_count, 48);
AT(narvo_learn_input, box_counts, 56);
AT(narvo_learn_input, boxes, 64);
AT(narvo_learn_input, mode, 72);
AT(narvo_learn_input, settings, 80);
AT(narvo_learn_input, setting_count, 88);
AT(narvo_learn_input, progress, 96);
AT(narvo_learn_input, context, 104);

SIZE(narvo_learnt, 40);
AT(narvo_learnt, size, 0);
AT(narvo_learnt, reserved, 4);
AT(narvo_learnt, reason_count, 8);
AT(narvo_learnt, warning_count, 16);
AT(narvo_learnt, false_defects, 24);
AT(narvo_learnt, false_bound, 32);

SIZE(narvo_learnt_image, 56);
AT(narvo_learnt_image, size, 0);
AT(narvo_learnt_image, width, 4);
AT(narvo_learnt_image, height, 8);
AT(narvo_learnt_image, reserved, 12);
AT(narvo_learnt_image, false_defects, 16);
AT(narvo_learnt_image, area, 24);
AT(narvo_learnt_image, level, 32);
AT(narvo_learnt_image, contrast, 40);
AT(narvo_learnt_image, score, 48);

SIZE(narvo_pixel_way, 48);
AT(narvo_pixel_way, size, 0);
AT(narvo_pixel_way, x, 4);
AT(narvo_pixel_way, y, 8);
AT(narvo_pixel_way, value, 12);
AT(narvo_pixel_way, defect, 16);
AT(narvo_pixel_way, reserved, 20);
AT(narvo_pixel_way, outcome, 24);
AT(narvo_pixel_way, why, 32);
AT(narvo_pixel_way, text, 40);

SIZE(narvo_stream_counts, 80);
AT(narvo_stream_counts, size, 0);
AT(narvo_stream_counts, exact, 4);
AT(narvo_stream_counts, rows, 8);
AT(narvo_stream_counts, final_rows, 16);
AT(narvo_stream_counts, defects, 24);
AT(narvo_stream_counts, waiting, 32);
AT(narvo_stream_counts, cut_defects, 40);
AT(narvo_stream_counts, crowded, 48);
AT(narvo_stream_counts, overflows, 56);
AT(narvo_stream_counts, open_chains, 64);
AT(narvo_stream_counts, memory_short, 72);

SIZE(narvo_stored_run, 80);
AT(narvo_stored_run, size, 0);
AT(narvo_stored_run, reserved, 4);
AT(narvo_stored_run, number, 8);
AT(narvo_stored_run, started, 16);
AT(narvo_stored_run, images, 24);
AT(narvo_stored_run, refused, 32);
AT(narvo_stored_run, defects, 40);
AT(narvo_stored_run, key, 48);
AT(narvo_stored_run, recipe, 56);
AT(narvo_stored_run, recipe_digest, 64);
AT(narvo_stored_run, program, 72);

SIZE(narvo_stored_image, 64);
AT(narvo_stored_image, size, 0);
AT(narvo_stored_image, width, 4);
AT(narvo_stored_image, height, 8);
AT(narvo_stored_image, reserved, 12);
AT(narvo_stored_image, name, 16);
AT(narvo_stored_image, sequence, 24);
AT(narvo_stored_image, inspected, 32);
AT(narvo_stored_image, reports, 40);
AT(narvo_stored_image, problems, 48);
AT(narvo_stored_image, problem_count, 56);

SIZE(narvo_pixel_array, 32);
AT(narvo_pixel_array, size, 0);
AT(narvo_pixel_array, width, 4);
AT(narvo_pixel_array, height, 8);
AT(narvo_pixel_array, channels, 12);
AT(narvo_pixel_array, bits, 16);
AT(narvo_pixel_array, reserved, 20);
AT(narvo_pixel_array, pixels, 24);

SIZE(narvo_answer, 48);
AT(narvo_answer, size, 0);
AT(narvo_answer, x, 4);
AT(narvo_answer, y, 8);
AT(narvo_answer, bright, 12);
AT(narvo_answer, removed, 16);
AT(narvo_answer, band, 20);
AT(narvo_answer, origin, 24);
AT(narvo_answer, peak, 28);
AT(narvo_answer, grey, 32);
AT(narvo_answer, reference, 36);
AT(narvo_answer, threshold, 40);
AT(narvo_answer, zone, 44);

SIZE(narvo_capability_input, 128);
AT(narvo_capability_input, size, 0);
AT(narvo_capability_input, count, 4);
AT(narvo_capability_input, good, 8);
AT(narvo_capability_input, good_names, 16);
AT(narvo_capability_input, good_count, 24);
AT(narvo_capability_input, sizes, 32);
AT(narvo_capability_input, size_count, 40);
AT(narvo_capability_input, contrasts, 48);
AT(narvo_capability_input, contrast_count, 56);
AT(narvo_capability_input, shapes, 64);
AT(narvo_capability_input, shape_count, 72);
AT(narvo_capability_input, places, 80);
AT(narvo_capability_input, place_count, 88);
AT(narvo_capability_input, seed, 96);
AT(narvo_capability_input, threads, 104);
AT(narvo_capability_input, reserved, 108);
AT(narvo_capability_input, progress, 112);
AT(narvo_capability_input, context, 120);

SIZE(narvo_capability_figures, 48);
AT(narvo_capability_figures, size, 0);
AT(narvo_capability_figures, reserved, 4);
AT(narvo_capability_figures, warning_count, 8);
AT(narvo_capability_figures, false_defects, 16);
AT(narvo_capability_figures, megapixels, 24);
AT(narvo_capability_figures, false_rate, 32);
AT(narvo_capability_figures, false_bound, 40);

SIZE(narvo_planted, 48);
AT(narvo_planted, size, 0);
AT(narvo_planted, pixels, 4);
AT(narvo_planted, contrast, 8);
AT(narvo_planted, reserved, 12);
AT(narvo_planted, shape, 16);
AT(narvo_planted, place, 24);
AT(narvo_planted, planted, 32);
AT(narvo_planted, found, 40);

SIZE(narvo_listed_defect, 40);
AT(narvo_listed_defect, size, 0);
AT(narvo_listed_defect, left, 4);
AT(narvo_listed_defect, top, 8);
AT(narvo_listed_defect, right, 12);
AT(narvo_listed_defect, bottom, 16);
AT(narvo_listed_defect, reserved, 20);
AT(narvo_listed_defect, area, 24);
AT(narvo_listed_defect, kind, 32);

SIZE(narvo_klarf_head, 88);
AT(narvo_klarf_head, size, 0);
AT(narvo_klarf_head, slot, 4);
AT(narvo_klarf_head, station, 8);
AT(narvo_klarf_head, model, 16);
AT(narvo_klarf_head, station_id, 24);
AT(narvo_klarf_head, lot, 32);
AT(narvo_klarf_head, device, 40);
AT(narvo_klarf_head, setup, 48);
AT(narvo_klarf_head, step, 56);
AT(narvo_klarf_head, wafer, 64);
AT(narvo_klarf_head, time, 72);
AT(narvo_klarf_head, pixel_size, 80);

SIZE(narvo_true_box, 32);
AT(narvo_true_box, size, 0);
AT(narvo_true_box, left, 4);
AT(narvo_true_box, top, 8);
AT(narvo_true_box, right, 12);
AT(narvo_true_box, bottom, 16);
AT(narvo_true_box, reserved, 20);
AT(narvo_true_box, kind, 24);

SIZE(narvo_set_image, 40);
AT(narvo_set_image, size, 0);
AT(narvo_set_image, defective, 4);
AT(narvo_set_image, name, 8);
AT(narvo_set_image, file, 16);
AT(narvo_set_image, reference, 24);
AT(narvo_set_image, mask, 32);
