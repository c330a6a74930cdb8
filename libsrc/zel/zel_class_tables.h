/* Colours and labels of the standard classes, as tables. */
#ifndef ZEL_CLASS_TABLES_H
#define ZEL_CLASS_TABLES_H

#ifdef __cplusplus
extern "C" {
#endif

enum { ZEL_NUM_CLASS_ROWS = 35 };

/* Standard classes, row = class value: colours as red, green, blue (0..255), and labels. */
extern const int collapsed_class_colors[ZEL_NUM_CLASS_ROWS][3];
extern const char* const collapsed_class_labels[ZEL_NUM_CLASS_ROWS];
extern const int full_class_colors[ZEL_NUM_CLASS_ROWS][3];
extern const char* const full_class_labels[ZEL_NUM_CLASS_ROWS];
extern const char* const full_combined_class_labels[ZEL_NUM_CLASS_ROWS];

#ifdef __cplusplus
}
#endif
#endif
