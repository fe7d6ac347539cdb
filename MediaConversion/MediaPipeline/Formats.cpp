#include "MediaConversion/MediaPipeline/Formats.h"

namespace Velmora::Formats {

using enum Colourspace;
using enum ChannelType;

// clang-format off

//                                             colourspace      channel type  bytes, channels, rows, columns of a group
FrameFormat RGB_U8()          { return {RGB,             U8,       { 3,  3, 1, 1}, "RGB"};             }
FrameFormat RGB_U10()         { return {RGB,             U10,      { 6,  3, 1, 1}, "RGB"};             }
FrameFormat RGB_U12()         { return {RGB,             U12,      { 6,  3, 1, 1}, "RGB"};             }
FrameFormat RGB_U15plus1()    { return {RGB,             U15plus1, { 6,  3, 1, 1}, "RGB"};             }
FrameFormat RGB_U16()         { return {RGB,             U16,      { 6,  3, 1, 1}, "RGB"};             }
FrameFormat RGB_F32()         { return {RGB,             F32,      {12,  3, 1, 1}, "RGB"};             }
FrameFormat BGR_U8()          { return {RGB,             U8,       { 3,  3, 1, 1}, "BGR"};             }
FrameFormat BGR_U10()         { return {RGB,             U10,      { 6,  3, 1, 1}, "BGR"};             }
FrameFormat BGR_U12()         { return {RGB,             U12,      { 6,  3, 1, 1}, "BGR"};             }
FrameFormat BGR_U16()         { return {RGB,             U16,      { 6,  3, 1, 1}, "BGR"};             }
FrameFormat BGR_F32()         { return {RGB,             F32,      {12,  3, 1, 1}, "BGR"};             }
FrameFormat RGBA_U8()         { return {RGBA,            U8,       { 4,  4, 1, 1}, "RGBA"};            }
FrameFormat BGRA_U8()         { return {RGBA,            U8,       { 4,  4, 1, 1}, "BGRA"};            }
FrameFormat BGRA_U16()        { return {RGBA,            U16,      { 8,  4, 1, 1}, "BGRA"};            }
FrameFormat BGRA_F32()        { return {RGBA,            F32,      {16,  4, 1, 1}, "BGRA"};            }
FrameFormat ARGB_U8()         { return {RGBA,            U8,       { 4,  4, 1, 1}, "ARGB"};            }
FrameFormat ARGB_U15plus1()   { return {RGBA,            U15plus1, { 8,  4, 1, 1}, "ARGB"};            }
FrameFormat CoCgAY_U8()       { return {YCoCgA,          U8,       { 4,  4, 1, 1}, "CoCgAY"};          }

FrameFormat RGB_DPX_FILLED()  { return {RGB,             U10,      { 4,  3, 1, 1}, "RGB-DPX-FILLED"};  }
FrameFormat BGR_DPX_FILLED()  { return {RGB,             U10,      { 4,  3, 1, 1}, "BGR-DPX-FILLED"};  }
FrameFormat RGB_DPX_PACKED()  { return {RGB,             U12,      { 9,  6, 1, 2}, "RGB-DPX-PACKED"};  }
FrameFormat BGR_DPX_PACKED()  { return {RGB,             U12,      { 9,  6, 1, 2}, "BGR-DPX-PACKED"};  }
FrameFormat RGB_SMPTE_2110()  { return {RGB,             U12,      { 9,  6, 1, 2}, "RGB-SMPTE-2110"};  }
FrameFormat BGR_SMPTE_2110()  { return {RGB,             U12,      { 9,  6, 1, 2}, "BGR-SMPTE-2110"};  }
FrameFormat YUYV_422()        { return {YCbCr_ITU_T871,  U8,       { 4,  4, 1, 2}, "YUYV-422"};        }
FrameFormat ZEQ_422()         { return {YCbCr_ITU_T871,  U10,      { 5,  4, 1, 2}, "ZEQ-422"};         }
FrameFormat ZEQ_4224_HYBRID() { return {YCbCrA_ITU_T871, U12,      { 8,  6, 1, 2}, "ZEQ-4224-HYBRID"}; }
FrameFormat ZEQ_420()         { return {YCbCr_ITU_T871,  U8,       { 6,  6, 2, 2}, "ZEQ-420"};         }
FrameFormat YCoCg_DXT5()      { return {YCoCg,           U8,       {16, 48, 4, 4}, "YCoCg-DXT5"};      }
FrameFormat RGB_DXT1()        { return {RGB,             U8,       { 8, 48, 4, 4}, "RGB-DXT1"};        }

// clang-format on

}
