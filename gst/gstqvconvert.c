/*
 * qvconvert: a GstVideoFilter that converts, scales, rotates, adjusts colour and deinterlaces
 * raw video through libqv_imageproc's public interface (GetDllInterface and its function table).
 *
 * Only pairs of formats and sizes that the library converts exactly are offered in negotiation:
 * formats whose memory layout is one of the library's, sides that are multiples of 4 (of 8 in
 * width for YUY2 and UYVY output), the source size for the routes that never scale, and rotation
 * only where the route rotates. One library context serves a negotiated format pair and property
 * set; it is made again when the caps or a property change.
 */
#include <string.h>

#include <gst/gst.h>
#include <gst/video/colorbalance.h>
#include <gst/video/gstvideofilter.h>
#include <gst/video/video.h>
#include <gst/video/videodirection.h>

#include "qv_imageproc.h"

GST_DEBUG_CATEGORY_STATIC(gst_qv_convert_debug);
#define GST_CAT_DEFAULT gst_qv_convert_debug

#define QV_SIDE_MIN 4
#define QV_SIDE_MAX 16384
/* Rows of padding below each plane of a padded source copy (the most any route reads is 5). */
#define QV_PAD_ROWS 8

/* ---- formats and routes ---------------------------------------------------------------------- */

typedef struct {
    GstVideoFormat gst;
    int32_t code; /* the library's format */
    gboolean source, destination;
} QvFormat;

/* Layouts as stored: RGB16 is RGB565 in a little-endian word, BGRA and BGRx are ARGB32 as a
 * little-endian word, RGBA is ABGR32; BGR is RGB888's byte order on any machine. */
static const QvFormat kFormats[] = {
    {GST_VIDEO_FORMAT_I420, QV_FORMAT_YCBCR420, TRUE, TRUE},
    {GST_VIDEO_FORMAT_YV12, QV_FORMAT_YCBCR420, TRUE, TRUE}, /* chroma planes swapped */
    {GST_VIDEO_FORMAT_Y42B, QV_FORMAT_YCBCR422, TRUE, FALSE},
    {GST_VIDEO_FORMAT_Y444, QV_FORMAT_YCBCR444, TRUE, FALSE},
    {GST_VIDEO_FORMAT_NV12, QV_FORMAT_NV12, TRUE, TRUE},
    {GST_VIDEO_FORMAT_YUY2, QV_FORMAT_YUY2, FALSE, TRUE},
    {GST_VIDEO_FORMAT_UYVY, QV_FORMAT_UYVY, FALSE, TRUE},
    {GST_VIDEO_FORMAT_BGR, QV_FORMAT_RGB888, TRUE, TRUE},
#if G_BYTE_ORDER == G_LITTLE_ENDIAN
    {GST_VIDEO_FORMAT_RGB16, QV_FORMAT_RGB565, TRUE, TRUE},
    {GST_VIDEO_FORMAT_BGRA, QV_FORMAT_ARGB32, TRUE, TRUE},
    {GST_VIDEO_FORMAT_BGRx, QV_FORMAT_ARGB32, TRUE, TRUE},
    {GST_VIDEO_FORMAT_RGBA, QV_FORMAT_ABGR32, TRUE, FALSE},
#endif
};

enum { ROUTE_SCALES = 1, ROUTE_ROTATES = 2, ROUTE_ADJUSTS = 4 };

typedef struct {
    int32_t operation;
    guint flags;
} QvRoute;

/* Every operation of the library with these formats, and what it does with sizes, rotation and
 * colour adjustment: the others write the source size, ignore the rotation or the adjustment. */
static const QvRoute kRoutes[] = {
    {0x000, ROUTE_SCALES | ROUTE_ROTATES | ROUTE_ADJUSTS},
    {0x003, ROUTE_SCALES | ROUTE_ROTATES | ROUTE_ADJUSTS},
    {0x004, ROUTE_SCALES | ROUTE_ROTATES | ROUTE_ADJUSTS},
    {0x005, ROUTE_SCALES | ROUTE_ROTATES | ROUTE_ADJUSTS},
    {0x006, 0},
    {0x007, 0},
    {0x008, 0},
    {0x103, ROUTE_SCALES | ROUTE_ADJUSTS},
    {0x203, ROUTE_SCALES | ROUTE_ROTATES | ROUTE_ADJUSTS},
    {0x204, ROUTE_SCALES | ROUTE_ROTATES | ROUTE_ADJUSTS},
    {0x205, ROUTE_SCALES | ROUTE_ROTATES | ROUTE_ADJUSTS},
    {0x300, ROUTE_ROTATES},
    {0x303, ROUTE_SCALES | ROUTE_ROTATES},
    {0x305, 0},
    {0x403, ROUTE_SCALES | ROUTE_ROTATES},
    {0x404, ROUTE_SCALES | ROUTE_ROTATES},
    {0x500, ROUTE_ROTATES},
    {0x800, 0},
    {0x900, ROUTE_ROTATES},
};

static const QvFormat* find_format(GstVideoFormat format) {
    for (guint i = 0; i < G_N_ELEMENTS(kFormats); ++i)
        if (kFormats[i].gst == format) return &kFormats[i];
    return NULL;
}

static const QvRoute* find_route(int32_t operation) {
    for (guint i = 0; i < G_N_ELEMENTS(kRoutes); ++i)
        if (kRoutes[i].operation == operation) return &kRoutes[i];
    return NULL;
}

/* ---- properties ------------------------------------------------------------------------------ */

typedef struct {
    GstVideoOrientationMethod direction;
    gint method;
    gint brightness, contrast, saturation;
    gint deinterlace;
    guint alpha;
} QvSettings;

#define DEFAULT_METHOD QV_INTERP_BILINEAR
#define DEFAULT_COLOUR 128
#define DEFAULT_ALPHA 255

enum {
    PROP_0,
    PROP_VIDEO_DIRECTION,
    PROP_METHOD,
    PROP_BRIGHTNESS,
    PROP_CONTRAST,
    PROP_SATURATION,
    PROP_DEINTERLACE_MODE,
    PROP_ALPHA,
};

static guint32 rotation_code(GstVideoOrientationMethod direction) {
    switch (direction) {
        case GST_VIDEO_ORIENTATION_90R:
            return QV_ROTATE_90_CW;
        case GST_VIDEO_ORIENTATION_180:
            return QV_ROTATE_180;
        case GST_VIDEO_ORIENTATION_90L:
            return QV_ROTATE_90_CCW;
        case GST_VIDEO_ORIENTATION_HORIZ:
            return QV_MIRROR;
        case GST_VIDEO_ORIENTATION_VERT:
            return QV_FLIP;
        default:
            return QV_ROTATE_NONE;
    }
}

static gboolean direction_supported(GstVideoOrientationMethod direction) {
    return direction == GST_VIDEO_ORIENTATION_IDENTITY || direction == GST_VIDEO_ORIENTATION_90R ||
           direction == GST_VIDEO_ORIENTATION_180 || direction == GST_VIDEO_ORIENTATION_90L ||
           direction == GST_VIDEO_ORIENTATION_HORIZ || direction == GST_VIDEO_ORIENTATION_VERT;
}

static gboolean quarter_turn(const QvSettings* s) {
    return s->direction == GST_VIDEO_ORIENTATION_90R || s->direction == GST_VIDEO_ORIENTATION_90L;
}

static gboolean colour_neutral(const QvSettings* s) {
    return s->brightness == DEFAULT_COLOUR && s->contrast == DEFAULT_COLOUR && s->saturation == DEFAULT_COLOUR;
}

/* Nothing for the library to do: a frame of the same format and size passes through. */
static gboolean nothing_to_do(const QvSettings* s) {
    return s->direction == GST_VIDEO_ORIENTATION_IDENTITY && colour_neutral(s) && s->deinterlace == 0;
}

/* Planar YCbCr sources deinterlace; 4:4:4 ones only in the modes that write every plane. */
static gboolean deinterlaces(int32_t source, gint mode) {
    if (source == QV_FORMAT_YCBCR420 || source == QV_FORMAT_YCBCR422) return TRUE;
    return source == QV_FORMAT_YCBCR444 &&
           (mode == QV_DEINTERLACE_FAST || mode == QV_DEINTERLACE_LINEAR || mode == QV_DEINTERLACE_X);
}

/* ---- which pairs are offered ----------------------------------------------------------------- */

typedef enum { PAIR_NONE, PAIR_SAME_SIZE, PAIR_ANY_SIZE } QvPair;

static QvPair pair_of(const QvSettings* s, GstVideoFormat in, GstVideoFormat out) {
    const QvFormat *from = find_format(in), *to = find_format(out);
    if (from == NULL || to == NULL || !from->source || !to->destination) return PAIR_NONE;
    const gboolean pass = in == out && nothing_to_do(s);
    const QvRoute* route = find_route(QV_OPERATION(from->code, to->code));
    if (route == NULL) return pass ? PAIR_SAME_SIZE : PAIR_NONE;
    if (s->direction != GST_VIDEO_ORIENTATION_IDENTITY && !(route->flags & ROUTE_ROTATES)) return PAIR_NONE;
    if (!colour_neutral(s) && !(route->flags & ROUTE_ADJUSTS)) return PAIR_NONE;
    if (s->deinterlace != 0 && !deinterlaces(from->code, s->deinterlace)) return PAIR_NONE;
    return (route->flags & ROUTE_SCALES) ? PAIR_ANY_SIZE : PAIR_SAME_SIZE;
}

/* The step of a side: every side a multiple of 4, YUY2 and UYVY rows of whole groups of 8. */
static gint width_step(GstVideoFormat format, gboolean output) {
    return output && (format == GST_VIDEO_FORMAT_YUY2 || format == GST_VIDEO_FORMAT_UYVY) ? 8 : 4;
}

static gboolean side_ok(gint side, gint step) {
    return side >= QV_SIDE_MIN && side <= QV_SIDE_MAX && side % step == 0;
}

/* Whether a negotiated pair is one the library converts exactly under these settings. */
static gboolean pair_ok(const QvSettings* s, const GstVideoInfo* in, const GstVideoInfo* out) {
    const QvPair pair = pair_of(s, GST_VIDEO_INFO_FORMAT(in), GST_VIDEO_INFO_FORMAT(out));
    const gint w = GST_VIDEO_INFO_WIDTH(in), h = GST_VIDEO_INFO_HEIGHT(in);
    const gint ow = GST_VIDEO_INFO_WIDTH(out), oh = GST_VIDEO_INFO_HEIGHT(out);
    if (pair == PAIR_NONE || !side_ok(w, 4) || !side_ok(h, 4) || !side_ok(oh, 4) ||
        !side_ok(ow, width_step(GST_VIDEO_INFO_FORMAT(out), TRUE)))
        return FALSE;
    if (pair == PAIR_SAME_SIZE && (quarter_turn(s) ? ow != h || oh != w : ow != w || oh != h)) return FALSE;
    if (GST_VIDEO_INFO_INTERLACE_MODE(out) != GST_VIDEO_INTERLACE_MODE_PROGRESSIVE) return FALSE;
    switch (GST_VIDEO_INFO_INTERLACE_MODE(in)) {
        case GST_VIDEO_INTERLACE_MODE_PROGRESSIVE:
            return TRUE;
        case GST_VIDEO_INTERLACE_MODE_INTERLEAVED:
            return s->deinterlace != 0;
        default:
            return FALSE;
    }
}

/* ---- the element ----------------------------------------------------------------------------- */

typedef struct {
    guint8* data;
    gsize size;
    guint8* planes[3];
    int32_t strides[3];
} QvScratch;

typedef struct {
    GstVideoFilter parent;

    /* Under the object lock: the properties as last set, and whether they changed since the
     * streaming thread took them. */
    QvSettings props;
    gboolean props_changed;

    /* Streaming thread: the settings the context was made for. */
    QvSettings active;
    gboolean stale; /* the context no longer matches the caps or the settings */
    QvHandle context;
    QvScratch source_copy, destination_copy;

    GList* channels;
} GstQvConvert;

typedef struct {
    GstVideoFilterClass parent_class;
} GstQvConvertClass;

#define GST_TYPE_QV_CONVERT (gst_qv_convert_get_type())
#define GST_QV_CONVERT(obj) ((GstQvConvert*)(obj))

GType gst_qv_convert_get_type(void);
static void gst_qv_convert_color_balance_init(GstColorBalanceInterface* iface);
static void gst_qv_convert_video_direction_init(GstVideoDirectionInterface* iface);

G_DEFINE_TYPE_WITH_CODE(GstQvConvert, gst_qv_convert, GST_TYPE_VIDEO_FILTER,
                        G_IMPLEMENT_INTERFACE(GST_TYPE_COLOR_BALANCE, gst_qv_convert_color_balance_init)
                            G_IMPLEMENT_INTERFACE(GST_TYPE_VIDEO_DIRECTION, gst_qv_convert_video_direction_init))

static const QvImageProcFunctions* qv_functions;

#define GST_TYPE_QV_CONVERT_METHOD (gst_qv_convert_method_get_type())
static GType gst_qv_convert_method_get_type(void) {
    static GType type = 0;
    static const GEnumValue values[] = {
        {QV_INTERP_NEAREST, "Nearest neighbour (4:2:0 to RGB16 enlarging; bilinear elsewhere)", "nearest"},
        {QV_INTERP_FIXED_RATIO, "Bilinear, with the fast paths for fixed ratios (2x, 2.5x2, 1.5x, 320x240 to 480x272)",
         "fixed-ratio"},
        {QV_INTERP_BILINEAR, "Bilinear", "bilinear"},
        {QV_INTERP_NEAR_LINEAR, "Near-linear (4:2:0 to RGB16 enlarging; bilinear elsewhere)", "near-linear"},
        {0, NULL, NULL},
    };
    if (g_once_init_enter(&type)) g_once_init_leave(&type, g_enum_register_static("GstQvConvertMethod", values));
    return type;
}

#define GST_TYPE_QV_CONVERT_DEINTERLACE (gst_qv_convert_deinterlace_get_type())
static GType gst_qv_convert_deinterlace_get_type(void) {
    static GType type = 0;
    static const GEnumValue values[] = {
        {0, "Off", "off"},
        {QV_DEINTERLACE_FAST, "Even lines kept, odd lines from a 5-tap vertical filter", "fast"},
        {QV_DEINTERLACE_DISCARD, "Top field only, each line doubled", "discard"},
        {QV_DEINTERLACE_BOB, "Top field doubled, last line from the bottom field", "bob"},
        {QV_DEINTERLACE_BLEND, "Every line averaged with the line above", "blend"},
        {QV_DEINTERLACE_MEAN, "Each line pair replaced by its average", "mean"},
        {QV_DEINTERLACE_LINEAR, "Top field kept, lines between averaged from the field", "linear"},
        {QV_DEINTERLACE_X, "Motion-adaptive 8x8 blocks with edge-directed interpolation", "x"},
        {0, NULL, NULL},
    };
    if (g_once_init_enter(&type)) g_once_init_leave(&type, g_enum_register_static("GstQvConvertDeinterlace", values));
    return type;
}

/* ---- caps ------------------------------------------------------------------------------------ */

/* Every side from QV_SIDE_MIN to QV_SIDE_MAX that is a whole number of steps (4 or 8). */
static void init_side_range(GValue* range, gint step) {
    g_value_init(range, GST_TYPE_INT_RANGE);
    gst_value_set_int_range_step(range, MAX(QV_SIDE_MIN, step), QV_SIDE_MAX, step);
}

static void set_side_range(GstStructure* st, const char* field, gint step) {
    GValue range = G_VALUE_INIT;
    init_side_range(&range, step);
    gst_structure_take_value(st, field, &range);
}

/* `value` (any sides when NULL) restricted to whole multiples of `step` within the limits. */
static gboolean constrain_side(const GValue* value, gint step, GValue* result) {
    if (value == NULL) {
        init_side_range(result, step);
        return TRUE;
    }
    GValue range = G_VALUE_INIT;
    init_side_range(&range, step);
    const gboolean ok = gst_value_intersect(result, value, &range);
    g_value_unset(&range);
    return ok;
}

/* Whether an interlace-mode value (absent, a string or a list) admits `mode`. */
static gboolean interlace_admits(const GValue* value, const char* mode) {
    if (value == NULL) return TRUE;
    GValue probe = G_VALUE_INIT;
    g_value_init(&probe, G_TYPE_STRING);
    g_value_set_static_string(&probe, mode);
    const gboolean ok = gst_value_intersect(NULL, value, &probe);
    g_value_unset(&probe);
    return ok;
}

static GstCaps* template_caps(gboolean source_pad) {
    GstCaps* caps = gst_caps_new_empty();
    for (int packed422 = 0; packed422 < 2; ++packed422) {
        GValue list = G_VALUE_INIT;
        g_value_init(&list, GST_TYPE_LIST);
        for (guint i = 0; i < G_N_ELEMENTS(kFormats); ++i) {
            const QvFormat* f = &kFormats[i];
            if (!(source_pad ? f->destination : f->source)) continue;
            if ((width_step(f->gst, source_pad) == 8) != packed422) continue;
            GValue name = G_VALUE_INIT;
            g_value_init(&name, G_TYPE_STRING);
            g_value_set_static_string(&name, gst_video_format_to_string(f->gst));
            gst_value_list_append_and_take_value(&list, &name);
        }
        if (gst_value_list_get_size(&list) == 0) {
            g_value_unset(&list);
            continue;
        }
        GstStructure* st = gst_structure_new_empty("video/x-raw");
        gst_structure_take_value(st, "format", &list);
        set_side_range(st, "width", packed422 ? 8 : 4);
        set_side_range(st, "height", 4);
        gst_structure_set(st, "framerate", GST_TYPE_FRACTION_RANGE, 0, 1, G_MAXINT, 1, NULL);
        gst_caps_append_structure(caps, st);
    }
    return caps;
}

/* The formats a caps structure names, restricted to those of one side. */
static GArray* formats_of(const GstStructure* st, gboolean sources) {
    GArray* formats = g_array_new(FALSE, FALSE, sizeof(GstVideoFormat));
    const GValue* value = gst_structure_get_value(st, "format");
    for (guint i = 0; i < G_N_ELEMENTS(kFormats); ++i) {
        const QvFormat* f = &kFormats[i];
        if (!(sources ? f->source : f->destination)) continue;
        if (value != NULL) {
            GValue name = G_VALUE_INIT;
            g_value_init(&name, G_TYPE_STRING);
            g_value_set_static_string(&name, gst_video_format_to_string(f->gst));
            const gboolean named = gst_value_intersect(NULL, value, &name);
            g_value_unset(&name);
            if (!named) continue;
        }
        g_array_append_val(formats, f->gst);
    }
    return formats;
}

/* One structure on the other side: `other` in format, with the given sides and interlacing. */
static void append_counterpart(GstCaps** result, const GstStructure* st, GstVideoFormat other, const GValue* width,
                               const GValue* height, gboolean same_size, gboolean quarter, gboolean interlaced_ok) {
    GstStructure* out = gst_structure_copy(st);
    const GValue* par = gst_structure_get_value(st, "pixel-aspect-ratio");
    gint par_n = 0, par_d = 0;
    gboolean keep_par = same_size && par != NULL && G_VALUE_HOLDS(par, GST_TYPE_FRACTION);
    if (keep_par) {
        par_n = gst_value_get_fraction_numerator(par);
        par_d = gst_value_get_fraction_denominator(par);
        keep_par = par_n > 0 && par_d > 0;
    }
    gst_structure_remove_fields(out, "format", "width", "height", "pixel-aspect-ratio", "colorimetry", "chroma-site",
                                "interlace-mode", "field-order", NULL);
    gst_structure_set(out, "format", G_TYPE_STRING, gst_video_format_to_string(other), NULL);
    gst_structure_set_value(out, "width", width);
    gst_structure_set_value(out, "height", height);
    if (keep_par)
        gst_structure_set(out, "pixel-aspect-ratio", GST_TYPE_FRACTION, quarter ? par_d : par_n,
                          quarter ? par_n : par_d, NULL);
    if (interlaced_ok) {
        GValue modes = G_VALUE_INIT, mode = G_VALUE_INIT;
        g_value_init(&modes, GST_TYPE_LIST);
        g_value_init(&mode, G_TYPE_STRING);
        g_value_set_static_string(&mode, "progressive");
        gst_value_list_append_value(&modes, &mode);
        g_value_set_static_string(&mode, "interleaved");
        gst_value_list_append_value(&modes, &mode);
        g_value_unset(&mode);
        gst_structure_take_value(out, "interlace-mode", &modes);
    } else {
        gst_structure_set(out, "interlace-mode", G_TYPE_STRING, "progressive", NULL);
    }
    *result = gst_caps_merge_structure(*result, out);
}

/* The structures on the other side of one structure `st` (of the sink side when `from_sink`). */
static void transform_structure(const QvSettings* s, const GstStructure* st, gboolean from_sink, GstCaps** result) {
    const GValue* interlace = gst_structure_get_value(st, "interlace-mode");
    const gboolean progressive = interlace_admits(interlace, "progressive");
    const gboolean interleaved = interlace_admits(interlace, "interleaved");
    const gboolean quarter = quarter_turn(s);
    GArray* formats = formats_of(st, from_sink);
    for (guint i = 0; i < formats->len; ++i) {
        const GstVideoFormat here = g_array_index(formats, GstVideoFormat, i);
        for (guint j = 0; j < G_N_ELEMENTS(kFormats); ++j) {
            const GstVideoFormat there = kFormats[j].gst;
            const GstVideoFormat in = from_sink ? here : there, out = from_sink ? there : here;
            const QvPair pair = pair_of(s, in, out);
            if (pair == PAIR_NONE) continue;
            /* Interlaced sources are taken only to be deinterlaced; the output is progressive. */
            gboolean interlaced_ok = FALSE;
            if (from_sink) {
                if (!progressive && !(interleaved && s->deinterlace != 0)) continue;
            } else {
                if (!progressive) continue;
                interlaced_ok = s->deinterlace != 0;
            }
            const gint here_step = width_step(here, !from_sink), there_step = width_step(there, from_sink);
            GValue here_w = G_VALUE_INIT, here_h = G_VALUE_INIT;
            if (!constrain_side(gst_structure_get_value(st, "width"), here_step, &here_w)) continue;
            if (!constrain_side(gst_structure_get_value(st, "height"), 4, &here_h)) {
                g_value_unset(&here_w);
                continue;
            }
            GValue w = G_VALUE_INIT, h = G_VALUE_INIT;
            gboolean ok;
            if (pair == PAIR_ANY_SIZE) {
                ok = constrain_side(NULL, there_step, &w) && constrain_side(NULL, 4, &h);
            } else {
                /* The same picture, turned for a quarter turn, in whole steps of both sides. */
                ok = constrain_side(quarter ? &here_h : &here_w, there_step, &w) &&
                     constrain_side(quarter ? &here_w : &here_h, 4, &h);
            }
            if (ok) append_counterpart(result, st, there, &w, &h, pair == PAIR_SAME_SIZE, quarter, interlaced_ok);
            if (G_IS_VALUE(&w)) g_value_unset(&w);
            if (G_IS_VALUE(&h)) g_value_unset(&h);
            g_value_unset(&here_w);
            g_value_unset(&here_h);
        }
    }
    g_array_free(formats, TRUE);
}

static QvSettings snapshot(GstQvConvert* self) {
    GST_OBJECT_LOCK(self);
    const QvSettings s = self->props;
    GST_OBJECT_UNLOCK(self);
    return s;
}

static GstCaps* gst_qv_convert_transform_caps(GstBaseTransform* trans, GstPadDirection direction, GstCaps* caps,
                                              GstCaps* filter) {
    const QvSettings s = snapshot(GST_QV_CONVERT(trans));
    const gboolean from_sink = direction == GST_PAD_SINK;
    GstCaps* result = gst_caps_new_empty();
    for (guint i = 0; i < gst_caps_get_size(caps); ++i) {
        GstCapsFeatures* features = gst_caps_get_features(caps, i);
        if (features != NULL && !gst_caps_features_is_any(features) &&
            !gst_caps_features_is_equal(features, GST_CAPS_FEATURES_MEMORY_SYSTEM_MEMORY))
            continue;
        const GstStructure* st = gst_caps_get_structure(caps, i);
        /* Passing progressive pictures through keeps every other field: offered first, so that
         * it is preferred. */
        const GValue* interlace = gst_structure_get_value(st, "interlace-mode");
        if (nothing_to_do(&s) && interlace_admits(interlace, "progressive")) {
            GArray* formats = formats_of(st, from_sink);
            for (guint j = 0; j < formats->len; ++j) {
                const GstVideoFormat f = g_array_index(formats, GstVideoFormat, j);
                if (!find_format(f)->source || !find_format(f)->destination) continue;
                GstStructure* same = gst_structure_copy(st);
                gst_structure_set(same, "format", G_TYPE_STRING, gst_video_format_to_string(f), NULL);
                if (interlace != NULL) gst_structure_set(same, "interlace-mode", G_TYPE_STRING, "progressive", NULL);
                result = gst_caps_merge_structure(result, same);
            }
            g_array_free(formats, TRUE);
        }
        transform_structure(&s, st, from_sink, &result);
    }
    if (filter != NULL) {
        GstCaps* both = gst_caps_intersect_full(filter, result, GST_CAPS_INTERSECT_FIRST);
        gst_caps_unref(result);
        result = both;
    }
    GST_DEBUG_OBJECT(trans, "%s %" GST_PTR_FORMAT " -> %" GST_PTR_FORMAT, from_sink ? "sink" : "src", caps, result);
    return result;
}

/* Fixes an integer field to the value nearest `target` that it allows, steps included. */
static void fixate_side(GstStructure* st, const char* field, gint target) {
    const GValue* value = gst_structure_get_value(st, field);
    if (value == NULL) {
        gst_structure_set(st, field, G_TYPE_INT, target, NULL);
        return;
    }
    if (G_VALUE_HOLDS(value, GST_TYPE_INT_RANGE)) {
        const gint lo = gst_value_get_int_range_min(value), hi = gst_value_get_int_range_max(value);
        const gint step = MAX(gst_value_get_int_range_step(value), 1);
        gint v = CLAMP(target, lo, hi);
        v = lo + (v - lo + step / 2) / step * step;
        while (v > hi) v -= step;
        gst_structure_set(st, field, G_TYPE_INT, v, NULL);
        return;
    }
    gst_structure_fixate_field_nearest_int(st, field, target);
}

static GstCaps* gst_qv_convert_fixate_caps(GstBaseTransform* trans, GstPadDirection direction, GstCaps* caps,
                                           GstCaps* othercaps) {
    const QvSettings s = snapshot(GST_QV_CONVERT(trans));
    const GstStructure* given = gst_caps_get_structure(caps, 0);
    const char* format = gst_structure_get_string(given, "format");
    gint w = 0, h = 0;
    gst_structure_get_int(given, "width", &w);
    gst_structure_get_int(given, "height", &h);
    GST_DEBUG_OBJECT(trans, "fixating %" GST_PTR_FORMAT " against %" GST_PTR_FORMAT, othercaps, caps);

    /* Keep the format when the other side can have it, else take the first offered. */
    guint chosen = 0;
    gboolean same_format = FALSE;
    for (guint i = 0; format != NULL && i < gst_caps_get_size(othercaps) && !same_format; ++i) {
        const GValue* value = gst_structure_get_value(gst_caps_get_structure(othercaps, i), "format");
        GValue name = G_VALUE_INIT;
        g_value_init(&name, G_TYPE_STRING);
        g_value_set_static_string(&name, format);
        if (value == NULL || gst_value_intersect(NULL, value, &name)) {
            chosen = i;
            same_format = TRUE;
        }
        g_value_unset(&name);
    }
    GstStructure* out = gst_structure_copy(gst_caps_get_structure(othercaps, chosen));
    GstCapsFeatures* features = gst_caps_get_features(othercaps, chosen);
    features = features != NULL ? gst_caps_features_copy(features) : NULL;
    gst_caps_unref(othercaps);
    if (same_format)
        gst_structure_set(out, "format", G_TYPE_STRING, format, NULL);
    else
        gst_structure_fixate_field(out, "format");

    /* The natural size is the given one, turned for a quarter turn; when one side is already
     * fixed the other follows it at the natural aspect ratio. */
    if (w > 0 && h > 0) {
        const gint nw = quarter_turn(&s) ? h : w, nh = quarter_turn(&s) ? w : h;
        gint ow = 0, oh = 0;
        const gboolean width_fixed = gst_structure_get_int(out, "width", &ow);
        const gboolean height_fixed = gst_structure_get_int(out, "height", &oh);
        if (height_fixed && !width_fixed) {
            fixate_side(out, "width", (gint)gst_util_uint64_scale_int_round(oh, nw, nh));
        } else {
            fixate_side(out, "width", nw);
            gst_structure_get_int(out, "width", &ow);
            fixate_side(out, "height", (gint)gst_util_uint64_scale_int_round(ow, nh, nw));
        }
    }
    if (gst_structure_has_field(out, "pixel-aspect-ratio"))
        gst_structure_fixate_field_nearest_fraction(out, "pixel-aspect-ratio", 1, 1);
    gint fn = 0, fd = 1;
    if (gst_structure_get_fraction(given, "framerate", &fn, &fd) && gst_structure_has_field(out, "framerate"))
        gst_structure_fixate_field_nearest_fraction(out, "framerate", fn, fd);
    (void)direction;

    GstCaps* result = gst_caps_new_empty();
    gst_caps_append_structure_full(result, out, features);
    result = gst_caps_fixate(result);
    GST_DEBUG_OBJECT(trans, "fixated to %" GST_PTR_FORMAT, result);
    return result;
}

/* ---- frames ---------------------------------------------------------------------------------- */

typedef struct {
    const QvFormat* format;
    gint width, height;
    guint8* planes[3];
    int32_t strides[3];
} QvPicture;

static gint plane_count(int32_t code) {
    switch (code) {
        case QV_FORMAT_YCBCR420:
        case QV_FORMAT_YCBCR422:
        case QV_FORMAT_YCBCR444:
            return 3;
        case QV_FORMAT_NV12:
            return 2;
        default:
            return 1;
    }
}

/* Bytes a row and rows of plane p of a picture in a library format. */
static void plane_shape(int32_t code, gint p, gint width, gint height, gint* row_bytes, gint* rows) {
    *rows = height;
    switch (code) {
        case QV_FORMAT_YCBCR420:
            *row_bytes = p == 0 ? width : width / 2;
            *rows = p == 0 ? height : height / 2;
            return;
        case QV_FORMAT_YCBCR422:
            *row_bytes = p == 0 ? width : width / 2;
            return;
        case QV_FORMAT_YCBCR444:
            *row_bytes = width;
            return;
        case QV_FORMAT_NV12:
            *row_bytes = width;
            *rows = p == 0 ? height : height / 2;
            return;
        case QV_FORMAT_RGB888:
            *row_bytes = 3 * width;
            return;
        case QV_FORMAT_ARGB32:
        case QV_FORMAT_ABGR32:
            *row_bytes = 4 * width;
            return;
        default:
            *row_bytes = 2 * width;
            return;
    }
}

/* The library's planes of a mapped frame: Y, Cb, Cr by component (which swaps YV12's chroma). */
static QvPicture picture_of(GstVideoFrame* frame) {
    QvPicture pic;
    memset(&pic, 0, sizeof pic);
    pic.format = find_format(GST_VIDEO_FRAME_FORMAT(frame));
    pic.width = GST_VIDEO_FRAME_WIDTH(frame);
    pic.height = GST_VIDEO_FRAME_HEIGHT(frame);
    const gint planes = plane_count(pic.format->code);
    for (gint p = 0; p < planes; ++p) {
        if (planes == 3) {
            pic.planes[p] = GST_VIDEO_FRAME_COMP_DATA(frame, p);
            pic.strides[p] = GST_VIDEO_FRAME_COMP_STRIDE(frame, p);
        } else {
            pic.planes[p] = GST_VIDEO_FRAME_PLANE_DATA(frame, p);
            pic.strides[p] = GST_VIDEO_FRAME_PLANE_STRIDE(frame, p);
        }
    }
    return pic;
}

/* Strides the library steps through exactly: whole multiples of 4 bytes covering a row, one
 * stride for both chroma planes, and for a packed half turn (placed from the end of the stride)
 * exactly a row. */
static gboolean strides_exact(const QvPicture* pic, gboolean half_turn) {
    const gint planes = plane_count(pic->format->code);
    for (gint p = 0; p < planes; ++p) {
        gint row_bytes, rows;
        plane_shape(pic->format->code, p, pic->width, pic->height, &row_bytes, &rows);
        if (pic->strides[p] <= 0 || pic->strides[p] % 4 != 0 || pic->strides[p] < row_bytes) return FALSE;
        if (half_turn && planes == 1 && pic->strides[p] != row_bytes) return FALSE;
    }
    return planes != 3 || pic->strides[1] == pic->strides[2];
}

/* A picture in memory of our own, each plane's stride a multiple of `align` bytes with `pad`
 * spare rows below. */
static gboolean scratch_layout(QvScratch* scratch, const QvPicture* like, gint align, gint pad) {
    const gint planes = plane_count(like->format->code);
    gsize offsets[3] = {0, 0, 0}, total = 0;
    for (gint p = 0; p < planes; ++p) {
        gint row_bytes, rows;
        plane_shape(like->format->code, p, like->width, like->height, &row_bytes, &rows);
        scratch->strides[p] = (row_bytes + align - 1) / align * align;
        offsets[p] = total;
        total += (gsize)scratch->strides[p] * (gsize)(rows + pad);
    }
    if (scratch->size != total) {
        g_free(scratch->data);
        scratch->data = g_try_malloc(total);
        scratch->size = scratch->data != NULL ? total : 0;
        if (scratch->data == NULL) return FALSE;
    }
    for (gint p = 0; p < 3; ++p) scratch->planes[p] = p < planes ? scratch->data + offsets[p] : NULL;
    return TRUE;
}

/* Copies `from` into a padded scratch picture; the spare bytes right of each row repeat its last
 * byte and the spare rows repeat the last row, so reads past the picture see its edge. */
static gboolean copy_padded(QvScratch* scratch, const QvPicture* from, QvPicture* to) {
    if (!scratch_layout(scratch, from, 16, QV_PAD_ROWS)) return FALSE;
    *to = *from;
    for (gint p = 0; p < plane_count(from->format->code); ++p) {
        gint row_bytes, rows;
        plane_shape(from->format->code, p, from->width, from->height, &row_bytes, &rows);
        const gint stride = scratch->strides[p];
        for (gint r = 0; r < rows + QV_PAD_ROWS; ++r) {
            guint8* row = scratch->planes[p] + (gsize)r * stride;
            if (r < rows) {
                memcpy(row, from->planes[p] + (gssize)r * from->strides[p], row_bytes);
                memset(row + row_bytes, row[row_bytes - 1], stride - row_bytes);
            } else {
                memcpy(row, row - stride, stride);
            }
        }
        to->planes[p] = scratch->planes[p];
        to->strides[p] = stride;
    }
    return TRUE;
}

static void copy_rows(const QvPicture* from, const QvPicture* to) {
    for (gint p = 0; p < plane_count(from->format->code); ++p) {
        gint row_bytes, rows;
        plane_shape(from->format->code, p, from->width, from->height, &row_bytes, &rows);
        for (gint r = 0; r < rows; ++r)
            memcpy(to->planes[p] + (gssize)r * to->strides[p], from->planes[p] + (gssize)r * from->strides[p],
                   row_bytes);
    }
}

static const char* result_name(QvResult r) {
    switch (r) {
        case QV_E_NOTIMPL:
            return "not implemented";
        case QV_E_INVALIDARG:
            return "invalid argument";
        case QV_E_OUTOFMEMORY:
            return "out of memory";
        case QV_E_POINTER:
            return "missing pointer";
        default:
            return "failed";
    }
}

static void destroy_context(GstQvConvert* self) {
    if (self->context != NULL) qv_functions->Destroy(self->context);
    self->context = NULL;
}

/* The picture the context is made for: the sides before rotation, as the library takes them. */
static QvCreateParams create_params(const QvSettings* s, const GstVideoInfo* in, const GstVideoInfo* out) {
    QvCreateParams p;
    memset(&p, 0, sizeof p);
    p.structSize = sizeof p;
    p.operation =
        QV_OPERATION(find_format(GST_VIDEO_INFO_FORMAT(in))->code, find_format(GST_VIDEO_INFO_FORMAT(out))->code);
    p.rotation = rotation_code(s->direction);
    p.interpolation = (uint32_t)s->method;
    p.srcWidth = GST_VIDEO_INFO_WIDTH(in);
    p.srcHeight = GST_VIDEO_INFO_HEIGHT(in);
    p.dstWidth = quarter_turn(s) ? GST_VIDEO_INFO_HEIGHT(out) : GST_VIDEO_INFO_WIDTH(out);
    p.dstHeight = quarter_turn(s) ? GST_VIDEO_INFO_WIDTH(out) : GST_VIDEO_INFO_HEIGHT(out);
    p.alpha = s->alpha;
    p.colourValue = 0xFF000000u;
    return p;
}

static gboolean make_context(GstQvConvert* self) {
    GstVideoFilter* filter = GST_VIDEO_FILTER(self);
    const QvSettings* s = &self->active;
    const QvCreateParams p = create_params(s, &filter->in_info, &filter->out_info);
    destroy_context(self);
    QvResult r = qv_functions->Create(&self->context, 0, &p);
    if (r == QV_S_OK && !colour_neutral(s)) {
        const int32_t values[3] = {s->brightness, s->contrast, s->saturation};
        r = qv_functions->Set(self->context, QV_PROPERTY_COLOUR_ADJUST, values);
    }
    if (r != QV_S_OK) {
        destroy_context(self);
        GST_ELEMENT_ERROR(self, LIBRARY, INIT, ("The image library cannot make a context for this conversion."),
                          ("operation 0x%03x, %dx%d to %dx%d, rotation %u, interpolation %u: 0x%08x (%s)",
                           (unsigned)p.operation, p.srcWidth, p.srcHeight, p.dstWidth, p.dstHeight, p.rotation,
                           p.interpolation, (unsigned)r, result_name(r)));
        return FALSE;
    }
    self->stale = FALSE;
    return TRUE;
}

/* Routes that read below the picture: block deinterlacing and 4:2:0 to RGB565 at 2.5 x 2. */
static gboolean reads_past_picture(const QvSettings* s, const QvCreateParams* p) {
    if (s->deinterlace == QV_DEINTERLACE_X) return TRUE;
    return p->operation == QV_OPERATION(QV_FORMAT_YCBCR420, QV_FORMAT_RGB565) &&
           p->interpolation == QV_INTERP_FIXED_RATIO && p->rotation == QV_ROTATE_NONE &&
           2 * p->dstWidth == 5 * p->srcWidth && p->dstHeight == 2 * p->srcHeight;
}

static GstFlowReturn gst_qv_convert_transform_frame(GstVideoFilter* filter, GstVideoFrame* inframe,
                                                    GstVideoFrame* outframe) {
    GstQvConvert* self = GST_QV_CONVERT(filter);
    if ((self->stale || self->context == NULL) && !make_context(self)) return GST_FLOW_ERROR;

    const QvSettings* s = &self->active;
    const QvCreateParams p = create_params(s, &filter->in_info, &filter->out_info);
    QvPicture src = picture_of(inframe), dst = picture_of(outframe), work_src = src, work_dst = dst;
    const gboolean half_turn = s->direction == GST_VIDEO_ORIENTATION_180;
    if ((reads_past_picture(s, &p) || !strides_exact(&src, FALSE)) && !copy_padded(&self->source_copy, &src, &work_src))
        goto no_memory;
    const gboolean direct = strides_exact(&dst, half_turn);
    if (!direct) {
        if (!scratch_layout(&self->destination_copy, &dst, 4, 0)) goto no_memory;
        for (gint i = 0; i < 3; ++i) {
            work_dst.planes[i] = self->destination_copy.planes[i];
            work_dst.strides[i] = self->destination_copy.strides[i];
        }
    }

    const uint8_t* const planes_in[3] = {work_src.planes[0], work_src.planes[1], work_src.planes[2]};
    uint8_t* const planes_out[3] = {work_dst.planes[0], work_dst.planes[1], work_dst.planes[2]};
    const QvFrameOptions options = {0, 0, (uint32_t)s->deinterlace};
    const QvResult r =
        qv_functions->ProcessFrame(self->context, planes_in, work_src.strides, planes_out, work_dst.strides, &options);
    if (r != QV_S_OK) {
        GST_ELEMENT_ERROR(self, STREAM, FAILED, ("The image library refused a frame."),
                          ("ProcessFrame returned 0x%08x (%s) for operation 0x%03x, %dx%d to %dx%d; strides in %d %d "
                           "%d, out %d %d %d",
                           (unsigned)r, result_name(r), (unsigned)p.operation, p.srcWidth, p.srcHeight, p.dstWidth,
                           p.dstHeight, work_src.strides[0], work_src.strides[1], work_src.strides[2],
                           work_dst.strides[0], work_dst.strides[1], work_dst.strides[2]));
        return GST_FLOW_ERROR;
    }
    if (!direct) copy_rows(&work_dst, &dst);
    return GST_FLOW_OK;

no_memory:
    GST_ELEMENT_ERROR(self, RESOURCE, FAILED, ("Out of memory for a frame copy."), (NULL));
    return GST_FLOW_ERROR;
}

/* Takes settings for the stream: a new context at the next frame, or none when passing through. */
static void adopt(GstQvConvert* self, const QvSettings* s, const GstVideoInfo* in, const GstVideoInfo* out) {
    GST_OBJECT_LOCK(self);
    self->props_changed = memcmp(s, &self->props, sizeof *s) != 0;
    GST_OBJECT_UNLOCK(self);
    self->active = *s;
    self->stale = TRUE;
    const gboolean same = GST_VIDEO_INFO_FORMAT(in) == GST_VIDEO_INFO_FORMAT(out) &&
                          GST_VIDEO_INFO_WIDTH(in) == GST_VIDEO_INFO_WIDTH(out) &&
                          GST_VIDEO_INFO_HEIGHT(in) == GST_VIDEO_INFO_HEIGHT(out);
    gst_base_transform_set_passthrough(GST_BASE_TRANSFORM(self), same && nothing_to_do(s));
}

static gboolean gst_qv_convert_set_info(GstVideoFilter* filter, GstCaps* incaps, GstVideoInfo* in_info,
                                        GstCaps* outcaps, GstVideoInfo* out_info) {
    GstQvConvert* self = GST_QV_CONVERT(filter);
    const QvSettings s = snapshot(self);
    if (!pair_ok(&s, in_info, out_info)) {
        GST_WARNING_OBJECT(self, "cannot convert %" GST_PTR_FORMAT " to %" GST_PTR_FORMAT, incaps, outcaps);
        return FALSE;
    }
    adopt(self, &s, in_info, out_info);
    return TRUE;
}

/* A property change asks for a renegotiation, which sets the caps again only when they change:
 * settings that keep the caps are taken here, before the next buffer. */
static void gst_qv_convert_before_transform(GstBaseTransform* trans, GstBuffer* buffer) {
    GstQvConvert* self = GST_QV_CONVERT(trans);
    GstVideoFilter* filter = GST_VIDEO_FILTER(trans);
    (void)buffer;
    GST_OBJECT_LOCK(self);
    const gboolean changed = self->props_changed;
    const QvSettings s = self->props;
    GST_OBJECT_UNLOCK(self);
    if (changed && filter->negotiated && pair_ok(&s, &filter->in_info, &filter->out_info))
        adopt(self, &s, &filter->in_info, &filter->out_info);
}

static gboolean gst_qv_convert_stop(GstBaseTransform* trans) {
    GstQvConvert* self = GST_QV_CONVERT(trans);
    destroy_context(self);
    g_free(self->source_copy.data);
    g_free(self->destination_copy.data);
    memset(&self->source_copy, 0, sizeof self->source_copy);
    memset(&self->destination_copy, 0, sizeof self->destination_copy);
    return TRUE;
}

/* ---- properties and interfaces --------------------------------------------------------------- */

static gint* colour_field(QvSettings* s, guint prop) {
    switch (prop) {
        case PROP_BRIGHTNESS:
            return &s->brightness;
        case PROP_CONTRAST:
            return &s->contrast;
        default:
            return &s->saturation;
    }
}

static void gst_qv_convert_set_property(GObject* object, guint prop_id, const GValue* value, GParamSpec* pspec) {
    GstQvConvert* self = GST_QV_CONVERT(object);
    GST_OBJECT_LOCK(self);
    QvSettings* s = &self->props;
    const QvSettings before = *s;
    switch (prop_id) {
        case PROP_VIDEO_DIRECTION: {
            const GstVideoOrientationMethod direction = g_value_get_enum(value);
            if (direction_supported(direction)) {
                s->direction = direction;
            } else {
                GEnumValue* name = g_enum_get_value(g_type_class_peek(GST_TYPE_VIDEO_ORIENTATION_METHOD), direction);
                g_warning(
                    "qvconvert: video-direction %s is not supported (identity, 90r, 180, 90l, horiz and vert "
                    "are); it stays as it was",
                    name != NULL ? name->value_nick : "?");
            }
            break;
        }
        case PROP_METHOD:
            s->method = g_value_get_enum(value);
            break;
        case PROP_BRIGHTNESS:
        case PROP_CONTRAST:
        case PROP_SATURATION:
            *colour_field(s, prop_id) = g_value_get_int(value);
            break;
        case PROP_DEINTERLACE_MODE:
            s->deinterlace = g_value_get_enum(value);
            break;
        case PROP_ALPHA:
            s->alpha = g_value_get_uint(value);
            break;
        default:
            G_OBJECT_WARN_INVALID_PROPERTY_ID(object, prop_id, pspec);
            break;
    }
    const gboolean changed = memcmp(&before, s, sizeof before) != 0;
    if (changed) self->props_changed = TRUE;
    GST_OBJECT_UNLOCK(self);
    /* The offered caps depend on the settings: renegotiate before the next buffer. */
    if (changed) gst_base_transform_reconfigure_src(GST_BASE_TRANSFORM(self));
}

static void gst_qv_convert_get_property(GObject* object, guint prop_id, GValue* value, GParamSpec* pspec) {
    GstQvConvert* self = GST_QV_CONVERT(object);
    GST_OBJECT_LOCK(self);
    QvSettings* s = &self->props;
    switch (prop_id) {
        case PROP_VIDEO_DIRECTION:
            g_value_set_enum(value, s->direction);
            break;
        case PROP_METHOD:
            g_value_set_enum(value, s->method);
            break;
        case PROP_BRIGHTNESS:
        case PROP_CONTRAST:
        case PROP_SATURATION:
            g_value_set_int(value, *colour_field(s, prop_id));
            break;
        case PROP_DEINTERLACE_MODE:
            g_value_set_enum(value, s->deinterlace);
            break;
        case PROP_ALPHA:
            g_value_set_uint(value, s->alpha);
            break;
        default:
            G_OBJECT_WARN_INVALID_PROPERTY_ID(object, prop_id, pspec);
            break;
    }
    GST_OBJECT_UNLOCK(self);
}

static const char* const kChannelNames[3] = {"BRIGHTNESS", "CONTRAST", "SATURATION"};
static const char* const kChannelProperties[3] = {"brightness", "contrast", "saturation"};

static const GList* gst_qv_convert_list_channels(GstColorBalance* balance) {
    return GST_QV_CONVERT(balance)->channels;
}

static gint channel_index(GstColorBalanceChannel* channel) {
    for (gint i = 0; i < 3; ++i)
        if (g_ascii_strcasecmp(channel->label, kChannelNames[i]) == 0) return i;
    return -1;
}

static void gst_qv_convert_set_value(GstColorBalance* balance, GstColorBalanceChannel* channel, gint value) {
    const gint i = channel_index(channel);
    if (i < 0) return;
    gint before = 0;
    g_object_get(balance, kChannelProperties[i], &before, NULL);
    g_object_set(balance, kChannelProperties[i], CLAMP(value, 0, 255), NULL);
    if (before != CLAMP(value, 0, 255)) gst_color_balance_value_changed(balance, channel, CLAMP(value, 0, 255));
}

static gint gst_qv_convert_get_value(GstColorBalance* balance, GstColorBalanceChannel* channel) {
    const gint i = channel_index(channel);
    gint value = DEFAULT_COLOUR;
    if (i >= 0) g_object_get(balance, kChannelProperties[i], &value, NULL);
    return value;
}

static GstColorBalanceType gst_qv_convert_get_balance_type(GstColorBalance* balance) {
    (void)balance;
    return GST_COLOR_BALANCE_SOFTWARE;
}

static void gst_qv_convert_color_balance_init(GstColorBalanceInterface* iface) {
    iface->list_channels = gst_qv_convert_list_channels;
    iface->set_value = gst_qv_convert_set_value;
    iface->get_value = gst_qv_convert_get_value;
    iface->get_balance_type = gst_qv_convert_get_balance_type;
}

static void gst_qv_convert_video_direction_init(GstVideoDirectionInterface* iface) {
    (void)iface;
}

static void gst_qv_convert_finalize(GObject* object) {
    GstQvConvert* self = GST_QV_CONVERT(object);
    g_list_free_full(self->channels, g_object_unref);
    G_OBJECT_CLASS(gst_qv_convert_parent_class)->finalize(object);
}

static void gst_qv_convert_init(GstQvConvert* self) {
    self->props.direction = GST_VIDEO_ORIENTATION_IDENTITY;
    self->props.method = DEFAULT_METHOD;
    self->props.brightness = self->props.contrast = self->props.saturation = DEFAULT_COLOUR;
    self->props.deinterlace = 0;
    self->props.alpha = DEFAULT_ALPHA;
    self->active = self->props;
    for (gint i = 0; i < 3; ++i) {
        GstColorBalanceChannel* channel = g_object_new(GST_TYPE_COLOR_BALANCE_CHANNEL, NULL);
        channel->label = g_strdup(kChannelNames[i]);
        channel->min_value = 0;
        channel->max_value = 255;
        self->channels = g_list_append(self->channels, channel);
    }
}

static void gst_qv_convert_class_init(GstQvConvertClass* klass) {
    GObjectClass* gobject_class = G_OBJECT_CLASS(klass);
    GstElementClass* element_class = GST_ELEMENT_CLASS(klass);
    GstBaseTransformClass* trans_class = GST_BASE_TRANSFORM_CLASS(klass);
    GstVideoFilterClass* filter_class = GST_VIDEO_FILTER_CLASS(klass);

    gobject_class->set_property = gst_qv_convert_set_property;
    gobject_class->get_property = gst_qv_convert_get_property;
    gobject_class->finalize = gst_qv_convert_finalize;

    g_object_class_override_property(gobject_class, PROP_VIDEO_DIRECTION, "video-direction");
    const GParamFlags flags = G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS | GST_PARAM_MUTABLE_PLAYING;
    g_object_class_install_property(gobject_class, PROP_METHOD,
                                    g_param_spec_enum("method", "Method", "Interpolation when scaling",
                                                      GST_TYPE_QV_CONVERT_METHOD, DEFAULT_METHOD, flags));
    g_object_class_install_property(
        gobject_class, PROP_BRIGHTNESS,
        g_param_spec_int("brightness", "Brightness", "Brightness, 128 neutral", 0, 255, DEFAULT_COLOUR, flags));
    g_object_class_install_property(
        gobject_class, PROP_CONTRAST,
        g_param_spec_int("contrast", "Contrast", "Contrast, 128 neutral", 0, 255, DEFAULT_COLOUR, flags));
    g_object_class_install_property(
        gobject_class, PROP_SATURATION,
        g_param_spec_int("saturation", "Saturation", "Saturation, 128 neutral", 0, 255, DEFAULT_COLOUR, flags));
    g_object_class_install_property(
        gobject_class, PROP_DEINTERLACE_MODE,
        g_param_spec_enum("deinterlace-mode", "Deinterlace mode",
                          "Deinterlace every frame of a planar YCbCr source (interlaced input needs a mode)",
                          GST_TYPE_QV_CONVERT_DEINTERLACE, 0, flags));
    g_object_class_install_property(
        gobject_class, PROP_ALPHA,
        g_param_spec_uint("alpha", "Alpha", "Alpha of BGRA and BGRx output", 0, 255, DEFAULT_ALPHA, flags));

    gst_element_class_set_static_metadata(element_class, "Image library converter", "Filter/Converter/Video/Scaler",
                                          "Converts, scales, rotates, adjusts colour and deinterlaces video with "
                                          "libqv_imageproc",
                                          "qv-imageproc developers");
    gst_element_class_add_pad_template(
        element_class, gst_pad_template_new("sink", GST_PAD_SINK, GST_PAD_ALWAYS, template_caps(FALSE)));
    gst_element_class_add_pad_template(element_class,
                                       gst_pad_template_new("src", GST_PAD_SRC, GST_PAD_ALWAYS, template_caps(TRUE)));

    trans_class->transform_caps = gst_qv_convert_transform_caps;
    trans_class->fixate_caps = gst_qv_convert_fixate_caps;
    trans_class->before_transform = gst_qv_convert_before_transform;
    trans_class->stop = gst_qv_convert_stop;
    filter_class->set_info = gst_qv_convert_set_info;
    filter_class->transform_frame = gst_qv_convert_transform_frame;

    gst_type_mark_as_plugin_api(GST_TYPE_QV_CONVERT_METHOD, 0);
    gst_type_mark_as_plugin_api(GST_TYPE_QV_CONVERT_DEINTERLACE, 0);
}

static gboolean plugin_init(GstPlugin* plugin) {
    GST_DEBUG_CATEGORY_INIT(gst_qv_convert_debug, "qvconvert", 0, "libqv_imageproc converter");
    if (GetDllInterface(&IID_QV_IMAGEPROC_C, &qv_functions) != QV_S_OK) return FALSE;
    return gst_element_register(plugin, "qvconvert", GST_RANK_NONE, GST_TYPE_QV_CONVERT);
}

/* GST_PLUGIN_DEFINE leaves the descriptor's reserved fields to their zero default. */
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"
GST_PLUGIN_DEFINE(GST_VERSION_MAJOR, GST_VERSION_MINOR, qvconvert,
                  "Raw video conversion, scaling, rotation, colour adjustment and deinterlacing with libqv_imageproc",
                  plugin_init, QV_VERSION, "unknown", PACKAGE, PACKAGE)
