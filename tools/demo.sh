#!/usr/bin/env bash
# Processes the clips of examples/media with a built orvelvis and shows what became of them.
# usage: tools/demo.sh BUILD_DIR    the results go to build/demo/ beside this script's folder
set -euo pipefail
[ $# -eq 1 ] || { echo "usage: $0 BUILD_DIR" >&2; exit 2; }
tool=$(cd "$1" && pwd)/tools/orvelvis
[ -x "$tool" ] || { echo "demo: $tool is missing; build first" >&2; exit 2; }
cd "$(dirname "$0")/.."
media=examples/media
out=build/demo
mkdir -p "$out"

made() { printf '%-34s %9s bytes  %s\n' "$out/$1" "$(wc -c <"$out/$1")" "$2"; }

# 4:2:0 in, 4:2:0 out: the middle of the picture enlarged onto a 720x576 canvas with a dark blue border.
"$tool" process "$media/walkway_352x288_30p.yuv" "$out/walkway_720x576_30p.yuv" --rate 30 --field-order progressive \
    --crop 320x240+16+24 --canvas 720x576 --place 640x480+40+48 --interp lanczos --background 41,160,118
made walkway_720x576_30p.yuv "4:2:0: middle of the picture, enlarged, on a canvas with a border"

# Packed 4:2:2 in, Y4M 4:2:2 out: each field is reduced by itself, so the result is interlaced as well.
"$tool" process "$media/roof_720x576_25i_tff.uyvy" "$out/roof.y4m" --rate 25 --field-order tff \
    --crop 704x560+8+8 --canvas 640x480 --place 528x420+56+30 --background 60,110,110
made roof.y4m "4:2:2 interlaced: reduced field by field, on a canvas with a border"

# The same clip made progressive, a picture of each field.
"$tool" process "$media/roof_720x576_25i_tff.uyvy" "$out/roof_50p.y4m" --rate 25 --field-order tff \
    --deinterlace blend --double-rate --ends repeat
made roof_50p.y4m "the same, deinterlaced to 50 pictures a second"

# Noise filtered with the motion from picture to picture, and what the filter goes by.
noisy=$media/walkway_noise6_352x288_30p.yuv
"$tool" process "$noisy" "$out/walkway_denoised_352x288_30p.yuv" --rate 30 --field-order progressive \
    --denoise 3 --ends repeat
made walkway_denoised_352x288_30p.yuv "the noisy clip, filtered"
"$tool" analyze "$noisy" "$out/walkway_noise6.csv"
made walkway_noise6.csv "motion and noise of the noisy clip, frame by frame"

"$tool" preview "$media/walkway_352x288_30p.yuv" "$out/walkway.png" --frames 4 --columns 2 \
    --beside "$out/walkway_720x576_30p.yuv"
made walkway.png "source and result side by side"
"$tool" preview "$media/roof_720x576_25i_tff.uyvy" "$out/roof.png" --frames 2 --columns 1 --field-order tff \
    --beside "$out/roof.y4m"
made roof.png "source and result side by side"
"$tool" preview "$media/roof_720x576_25i_tff.uyvy" "$out/roof_fields.png" --fields --frames 2 --field-order tff
made roof_fields.png "the two fields of a picture, the top one above"
# The camera took whole pictures, of which the interlaced clip has every other line: the truth.
"$tool" preview "$out/roof_50p.y4m" "$out/roof_50p.png" --frames 3 --every 2 --columns 1 \
    --beside "$media/roof_720x576_50p.yuv"
made roof_50p.png "deinterlaced pictures beside what the camera saw"
# The last frame of each, enlarged by four so that every pixel is seen.
for clip in "$noisy" "$out/walkway_denoised_352x288_30p.yuv"; do
    tail -c $((352 * 288 * 3 / 2)) "$clip" | "$tool" process - "$out/part_of_$(basename "$clip" _352x288_30p.yuv).y4m" \
        --format i420 --size 352x288 --rate 30 --crop 176x144+128+72 --scale 704x576 --interp nearest
done
"$tool" preview "$out/part_of_walkway_noise6.y4m" "$out/walkway_denoised.png" \
    --beside "$out/part_of_walkway_denoised.y4m"
made walkway_denoised.png "part of a noisy picture beside the filtered one"
"$tool" preview "$noisy" "$out/walkway_motion.png" --motion --frames 3 --every 3 --columns 1 \
    --beside "$out/walkway_denoised_352x288_30p.yuv"
made walkway_motion.png "the motion that is found in the noisy clip and in the filtered one"
"$tool" preview "$media/roof_720x576_50p.yuv" "$out/roof_motion.png" --motion --frames 2 --every 4
made roof_motion.png "the motion of a pan"

# A time code in both fields of each picture, for machines and for people.
"$tool" tc stamp "$media/roof_720x576_25i_tff.uyvy" "$out/roof_timecode.y4m" --rate 25 --field-order tff \
    --start 10:00:00:00 --readable
"$tool" tc read "$out/roof_timecode.y4m" "$out/roof_timecode.csv" --check-fields --expect-continuous --strict
made roof_timecode.csv "the time codes of the stamped clip, read back and checked"
"$tool" preview "$out/roof_timecode.y4m" "$out/roof_timecode.png" --frames 2 --columns 2
made roof_timecode.png "the stamped pictures"
