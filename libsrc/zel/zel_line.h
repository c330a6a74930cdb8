/* Pixels, one scan line at a time. */
#ifndef ZEL_LINE_H
#define ZEL_LINE_H

#include "zel_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Reads the current line and advances: PixBuf holds the stored pixels, ChannelData their values
   (not filled by the second). Returns NPixelPerLine, or 0 at the end of the file. Ends the process
   (-1) on a write-only record, one that is not open, or a read error. The line read last is not
   read again when it is requested again: after the second function its values stay unfilled, with a
   warning. */
int ZELReadLine(ZELType* ZELdata);
int ZELReadLineNoScale(ZELType* ZELdata);

/* ZELReadLine of a plain file or component; ChannelData is filled when scale is not 0. */
int ReadLine(ZELType* ZELdata, int scale);

/* ZELReadLine of a composite view: a line of each component, brought to the view's grid. */
int ZELReadCompositeLine(ZELType* ZELdata, int scale);

/* The same in shares, which several threads may read at once: that of one component (from 0) in a
   line (from 0) of the view, with values. Returns NPixelPerLine, or 0 where the component has no
   such line. When all shares are read, the second takes the scan of the base component, and
   advances. End the process (-1) on a record that is no view, and as ZELReadLine does. */
int ZELReadCompositeShare(ZELType* ZELdata, int component, int line);
void ZELCompleteCompositeLine(ZELType* ZELdata);

/* Writes the current line and advances. Channels that were loaded are encoded first (and clamped to
   their scale range in ChannelData itself); the others are written as their PixBuf is. Ends the
   process (-1) on a read-only record or a write error; warns when an open since its own has changed
   the byte order that all files share. */
void ZELWriteLine(ZELType* ZELdata);

/* Copies the current line of src to dst, for every slot present in both: with the stored bytes, to
   be written unchanged; or the values only, to be encoded again for dst's own storage. */
void ZELCopyLine(ZELType* ZELdataDest, ZELType* ZELdataSrc);
void ZELCopyLineWithLoad(ZELType* ZELdataDest, ZELType* ZELdataSrc);

/* Move the current line of a file that is read, by n lines or to a line. Return the new line, or -1
   when that is the end of the file or beyond (the current line is then the end) or negative (it is
   then unchanged). End the process (-1) on a write-only record. */
int ZELSkipLines(ZELType* ZELdata, int n);
int ZELSetCurrentLine(ZELType* ZELdata, int line);

/* First and last pixel of the current line that hold image. */
void ZELSetPadding(ZELType* ZELdata, int left, int right);
void ZELGetPadding(ZELType* ZELdata, int* left, int* right);

/* Pixel at the nadir of the current line; negative when the nadir is outside it. */
void ZELSetNadirPixel(ZELType* ZELdata, int pixel);
int ZELGetNadirPixel(ZELType* ZELdata);

/* Position of the nadir of the current line, degrees. */
void ZELSetNadirLatLon(ZELType* ZELdata, float lat, float lon);
float ZELGetNadirLat(ZELType* ZELdata);
float ZELGetNadirLon(ZELType* ZELdata);

#ifdef __cplusplus
}
#endif
#endif
