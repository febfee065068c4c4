/* SPDX-License-Identifier: MIT */
/* A host in C99: draws a pattern with one defect, inspects it, and prints what was found or why it was refused. */
#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>

#include <narvo/narvo_c.h>

enum
{
    width = 512,
    height = 288
};

static void print_problems(void)
{
    for (int64_t i = 0; i < narvo_problem_count(); ++i)
    {
        narvo_problem problem = {.size = sizeof problem};
        if (narvo_problem_get(i, &problem) == NARVO_OK)
            printf("%s: %s; allowed: %s\n", problem.field, problem.value, problem.allowed);
    }
}

static int32_t print_report(const narvo_reports* reports)
{
    narvo_report report = {.size = sizeof report};
    int32_t status = narvo_reports_get(reports, 0, &report);
    for (int64_t i = 0; status == NARVO_OK && i < report.warning_count; ++i)
    {
        const char* text = NULL;
        status = narvo_reports_warning(reports, 0, i, &text);
        if (status == NARVO_OK)
            printf("warning: %s\n", text);
    }
    narvo_defect* defects = calloc((size_t)report.defect_count + 1, sizeof *defects);
    int64_t count = 0;
    if (status == NARVO_OK && defects != NULL)
        status = narvo_reports_defects(reports, 0, sizeof *defects, defects, report.defect_count, &count);
    for (int64_t i = 0; status == NARVO_OK && i < count; ++i)
        printf("%" PRId32 " pixels around %" PRId32 ", %" PRId32 "\n", defects[i].area, defects[i].center_x,
               defects[i].center_y);
    free(defects);
    return status;
}

int main(void)
{
    static unsigned char pixels[height][width];
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
        {
            const int defect = x >= 200 && x < 205 && y >= 120 && y < 125;
            pixels[y][x] = defect ? 230 : x % 32 < 12 && y % 24 < 16 ? 150 : 60;
        }

    const narvo_image image = {
        .size = sizeof image, .width = width, .height = height, .bits = 8, .stride = width, .pixels = pixels};
    narvo_draft* draft = NULL;
    narvo_recipe* recipe = NULL;
    narvo_inspector* inspector = NULL;
    narvo_reports* reports = NULL;
    const int failed = narvo_draft_create(&draft) != NARVO_OK ||
                       narvo_draft_set_text(draft, "mode", "pixel") != NARVO_OK ||
                       narvo_draft_set_number(draft, "pitch.x", 32.0) != NARVO_OK ||
                       narvo_draft_set_number(draft, "pitch.y", 24.0) != NARVO_OK ||
                       narvo_draft_set_integer(draft, "threshold.base", 25) != NARVO_OK ||
                       narvo_draft_check(draft, &recipe) != NARVO_OK ||
                       narvo_inspector_create(1, &inspector) != NARVO_OK ||
                       narvo_inspect(inspector, recipe, &image, &reports) != NARVO_OK ||
                       print_report(reports) != NARVO_OK;
    if (failed)
        print_problems();
    narvo_reports_free(reports);
    narvo_inspector_free(inspector);
    narvo_recipe_free(recipe);
    narvo_draft_free(draft);
    return failed;
}
