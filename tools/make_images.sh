#!/bin/sh
# Makes every image the pages name, under site/images and site/img, with
# ImageMagick. One look throughout: the blue of the title bars (#336699),
# white and a warm yellow for accents, flat shapes with a soft gradient.
# Run from anywhere: tools/make_images.sh   (needs imagemagick, fonts-dejavu-core,
# fonts-wqy-zenhei; run as root to have them installed when missing).
set -eu

ROOT=$(cd "$(dirname "$0")/.." && pwd)
IMG="$ROOT/site/images"
TB="$ROOT/site/img"
mkdir -p "$IMG" "$TB"

CJK=/usr/share/fonts/truetype/wqy/wqy-zenhei.ttc
SYM=/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf
SYMB=/usr/share/fonts/truetype/dejavu/DejaVuSans-Bold.ttf
SERIFBI=/usr/share/fonts/truetype/dejavu/DejaVuSerif-BoldItalic.ttf
SERIFB=/usr/share/fonts/truetype/dejavu/DejaVuSerif-Bold.ttf

need=""
command -v convert >/dev/null 2>&1 || need="$need imagemagick"
[ -f "$CJK" ] || need="$need fonts-wqy-zenhei"
[ -f "$SYM" ] && [ -f "$SERIFBI" ] || need="$need fonts-dejavu-core fonts-dejavu-extra"
if [ -n "$need" ]; then
  apt-get install -y $need
fi

BLUE='#336699'
DARK='#1d4f80'
LIGHT='#e8f0f8'
YELLOW='#ffe066'

# GIF without dithering noise; -transparent clears the matte colour the
# shape was drawn on, so edges stay smooth on that background.
gif() {
  n=$#; i=1
  for a in "$@"; do
    if [ $i -eq $n ]; then out=$a; else set -- "$@" "$a"; fi
    i=$((i + 1))
  done
  shift "$n"
  convert "$@" -dither None -colors 128 "$out"
}

# ---------------------------------------------------------------- page bar
# 25x25 buttons of the page bar, which stands on #E0E0E0.
pagebtn() { # name glyph-draw
  name=$1; shift
  gif -size 25x25 xc:'#E0E0E0' \
    -fill '#4a7fb3' -stroke '#24507c' -strokewidth 1 -draw 'roundrectangle 2,2 22,22 4,4' \
    -stroke none -fill white "$@" \
    -transparent '#E0E0E0' "GIF:$IMG/$name.gif"
}
pagebtn first -draw 'rectangle 7,8 8,16' -draw 'polygon 17,8 17,16 10,12'
pagebtn prev  -draw 'polygon 15,7 15,17 9,12'
pagebtn next  -draw 'polygon 10,7 10,17 16,12'
pagebtn last  -draw 'polygon 8,8 8,16 15,12' -draw 'rectangle 16,8 17,16'

# Bullet of title bars and menu entries: a yellow arrow, drawn for the blue bars.
gif -size 25x25 xc:"$BLUE" -fill "$YELLOW" -stroke '#8a6d00' -strokewidth 1 \
  -draw 'polygon 8,7 8,18 17,12.5' -transparent "$BLUE" "GIF:$IMG/arrow1.gif"

# Scroll arrows of the left bar, 15x15.
arrow15() { # name polygon
  gif -size 15x15 xc:"$BLUE" -fill "$LIGHT" -stroke '#9cc3e8' -strokewidth 1 \
    -draw 'roundrectangle 0,0 14,14 3,3' -stroke none -fill "$BLUE" -draw "polygon $2" \
    -transparent "$BLUE" "GIF:$IMG/$1.gif"
}
arrow15 up   '3,10 11,10 7,4'
arrow15 down '3,5 11,5 7,11'

# ---------------------------------------------------------------- top frame
# Section buttons: a light disc with a symbol and a short label below.
# State 1 at rest, 0 under the mouse, 2 pressed (the top frame swaps them).
section() { # stem width glyph label glyphfont glyphsize
  stem=$1 w=$2 glyph=$3 label=$4 gfont=$5 gsize=$6
  cx=$((w / 2))
  for st in 1 0 2; do
    case $st in
      1) bg="$BLUE"; box="none"; boxs="none"; disc="$LIGHT"; g="$BLUE"; t="#ffffff"; dx=0 ;;
      0) bg="$BLUE"; box="#4a7fb3"; boxs="#8fb8e0"; disc="#ffffff"; g="$DARK"; t="$YELLOW"; dx=0 ;;
      2) bg="$BLUE"; box="#234d78"; boxs="#17385a"; disc="#c9dcee"; g="$DARK"; t="$YELLOW"; dx=1 ;;
    esac
    x=$((cx + dx)); y=$((16 + dx))
    convert -size "${w}x46" xc:"$bg" \
      -fill "$box" -stroke "$boxs" -strokewidth 1 -draw "roundrectangle 1,1 $((w - 2)),44 5,5" \
      -stroke none -fill '#00000040' -draw "circle $((x + 1)),$((y + 1)) $((x + 1)),$((y + 13))" \
      -fill "$disc" -draw "circle $x,$y $x,$((y - 12))" \
      \( -size "${w}x46" xc:none -font "$gfont" -pointsize "$gsize" -fill "$g" -gravity center \
         -annotate "+$dx+$((dx - 7))" "$glyph" \) -gravity NorthWest -composite \
      \( -size "${w}x46" xc:none -font "$CJK" -pointsize 12 -fill "$t" -gravity south \
         -annotate "+$dx+$((2 - dx))" "$label" \) -composite \
      -dither None -colors 96 "GIF:$IMG/$stem$st.gif"
  done
}
section sy   32 '⌂' '首页' "$SYMB" 17
section wlzx 57 '☎' '交流' "$SYM" 15
section bgzx 57 '✎' '办公' "$SYM" 15
section sjzx 57 '▦' '数据' "$SYM" 15
section xtbz 57 '?' '帮助' "$SYMB" 16
section tcxt 57 '✕' '退出' "$SYMB" 14

# Title background of the top frame, 740x46: deep blue to the bar blue with
# faint light bands towards the right, quiet enough for the yellow headline.
convert -size 46x740 gradient:'#1a4672'-"$BLUE" -rotate -90 \
  \( -size 740x46 xc:none -fill '#ffffff14' -draw 'ellipse 560,60 220,40 180,360' \
     -fill '#ffffff10' -draw 'ellipse 700,-10 160,34 0,180' \
     -fill '#ffffff0c' -draw 'ellipse 420,58 140,22 180,360' \) -composite \
  -fill '#ffffff30' -draw 'line 0,45 739,45' \
  -dither FloydSteinberg -colors 128 "GIF:$IMG/top_bg.gif"

# Link to the maker's site at the end of the top row, same look as the buttons.
convert -size 57x46 xc:"$BLUE" \
  -fill "$LIGHT" -draw 'circle 28,16 28,4' \
  -fill none -stroke "$BLUE" -strokewidth 1.5 -draw 'circle 28,16 28,8' \
  -draw 'ellipse 28,16 4,8 0,360' -draw 'line 20,16 36,16' \
  -stroke none \( -size 57x46 xc:none -font "$CJK" -pointsize 12 -fill '#ffffff' -gravity south \
     -annotate +0+2 '作者' \) -composite \
  -dither None -colors 64 "GIF:$IMG/Author.gif"

# ---------------------------------------------------------------- bottom frame
# Status icons, 18x18, on the bottom bar (#337799).
SB='#337799'
status() { # name draw-args...
  name=$1; shift
  gif -size 18x18 xc:"$SB" "$@" -transparent "$SB" "GIF:$IMG/$name.gif"
}
status onlinenone -fill '#ffffff' -stroke '#1d4f80' -strokewidth 1 \
  -draw 'circle 9,6 9,2' -draw 'roundrectangle 3,11 15,17 4,4' \
  -fill "$YELLOW" -stroke none -draw 'circle 15,4 15,2'
status mail_0 -fill '#ffffff' -stroke '#1d4f80' -strokewidth 1 \
  -draw 'rectangle 2,4 15,14' -fill none -draw 'polyline 2,4 8.5,10 15,4'
status boardnone -fill '#ffffff' -stroke '#1d4f80' -strokewidth 1 \
  -draw 'roundrectangle 1,2 16,12 3,3' -draw 'polygon 5,12 5,16 9,12' \
  -stroke none -fill "$BLUE" -draw 'rectangle 4,5 13,5' -draw 'rectangle 4,8 11,8'
status boxin -fill '#ffffff' -stroke '#1d4f80' -strokewidth 1 \
  -draw 'polygon 1,10 5,10 6,12 11,12 12,10 16,10 16,16 1,16' \
  -fill "$YELLOW" -stroke '#8a6d00' -draw 'polygon 6,1 11,1 11,5 14,5 8.5,10 3,5 6,5'
status boxout -fill '#ffffff' -stroke '#1d4f80' -strokewidth 1 \
  -draw 'polygon 1,10 5,10 6,12 11,12 12,10 16,10 16,16 1,16' \
  -fill '#9be07a' -stroke '#2f6b1a' -draw 'polygon 6,10 11,10 11,6 14,6 8.5,1 3,6 6,6'
status key -fill "$YELLOW" -stroke '#8a6d00' -strokewidth 1 \
  -draw 'circle 5,6 5,2' -draw 'polygon 8,7 16,13 16,16 13,16 13,14 11,14 11,12 7,9' \
  -fill "$SB" -stroke none -draw 'circle 4.5,5.5 4.5,4.5'

# ---------------------------------------------------------------- lists
# Small icons on white list rows: edit, delete, notes, files.
icon16() { # name draw-args...
  name=$1; shift
  gif -size 16x16 xc:white "$@" -transparent white "GIF:$IMG/$name"
}
icon16 EDIT.GIF -fill "$YELLOW" -stroke '#8a6d00' -strokewidth 1 \
  -draw 'polygon 3,11 11,3 13,5 5,13' -fill '#f2c29b' -draw 'polygon 3,11 5,13 2,14' \
  -fill "$BLUE" -stroke none -draw 'polygon 11,3 12,2 14,4 13,5' \
  -fill "$BLUE" -draw 'rectangle 1,15 14,15'
icon16 delete.GIF -fill '#f7d4d0' -stroke '#b03a2e' -strokewidth 1 \
  -draw 'roundrectangle 1,1 14,14 3,3' -strokewidth 2 \
  -draw 'line 5,5 10,10' -draw 'line 10,5 5,10'
icon16 note.gif -fill '#fff6cc' -stroke '#8a6d00' -strokewidth 1 \
  -draw 'rectangle 2,1 13,14' -stroke "$BLUE" \
  -draw 'line 4,5 11,5' -draw 'line 4,8 11,8' -draw 'line 4,11 9,11'
icon16 file.gif -fill '#ffffff' -stroke '#4e6a88' -strokewidth 1 \
  -draw 'polygon 3,1 10,1 13,4 13,14 3,14' -fill '#d9e4ef' -draw 'polygon 10,1 10,4 13,4' \
  -stroke '#9fb5cc' -draw 'line 5,7 11,7' -draw 'line 5,9 11,9' -draw 'line 5,11 9,11'

# ---------------------------------------------------------------- file store tree
# Each folder image carries the indent of its level (16 pixels per level
# below the first), a dotted elbow to the folder and the folder itself;
# the current folder (suffix 1) is drawn open and yellow.
folder_img() { # file level current
  file=$1 level=$2 cur=$3
  w=$((16 * level + 20)); x=$((16 * (level - 1)))
  if [ "$cur" = 1 ]; then
    body='#ffd24d' edge='#9a7400' flap='#ffe58a'
  else
    body='#f3d27a' edge='#a88427' flap='#f8e2a8'
  fi
  convert -size "${w}x18" xc:white \
    -stroke '#9fb5cc' -strokewidth 1 -fill none \
    -draw "line $((x + 6)),0 $((x + 6)),9" -draw "line $((x + 6)),9 $((x + 14)),9" \
    -stroke "$edge" -fill "$flap" -draw "polygon $((x + 15)),4 $((x + 20)),4 $((x + 22)),6 $((x + 32)),6 $((x + 32)),14 $((x + 15)),14" \
    -fill "$body" -draw "polygon $((x + 15)),7 $((x + 33)),7 $((x + 32)),15 $((x + 15)),15" \
    -dither None -colors 32 -transparent white "GIF:$IMG/$file"
  if [ "$cur" = 1 ]; then
    convert "$IMG/$file" -stroke "$edge" -fill "$body" \
      -draw "polygon $((x + 17)),9 $((x + 35)),9 $((x + 32)),15 $((x + 15)),15" \
      -dither None -colors 32 -transparent white "GIF:$IMG/$file"
  fi
}
for level in 1 2 3 4 5 6 7 8; do
  folder_img "folder$level.gif" "$level" 0
  folder_img "folder${level}1.gif" "$level" 1
done

# Root of the tree: a small drive; root.gif when the root is the current folder.
rootimg() { # file fill
  convert -size 20x18 xc:white -fill "$2" -stroke "$DARK" -strokewidth 1 \
    -draw 'roundrectangle 1,5 18,14 2,2' -fill '#9be07a' -stroke none -draw 'rectangle 13,9 15,10' \
    -fill "$DARK" -draw 'rectangle 3,9 9,10' \
    -dither None -colors 32 -transparent white "GIF:$IMG/$1"
}
rootimg root.gif "$YELLOW"
rootimg root1.gif '#d9e4ef'

# ---------------------------------------------------------------- login page
# Calm blue background for the login window (800x600): darker above, where
# the yellow headline stands, lighter below, with a few soft light arcs.
convert -size 800x600 gradient:'#17426e'-'#6fa3d4' \
  \( -size 800x600 xc:none -fill none -stroke '#ffffff1c' -strokewidth 2 \
     -draw 'ellipse 400,820 620,420 180,360' \
     -stroke '#ffffff12' -strokewidth 40 -draw 'ellipse 400,900 700,420 180,360' \
     -stroke '#ffffff0e' -strokewidth 1 -draw 'ellipse 420,760 560,360 180,360' \) -composite \
  -dither FloydSteinberg -colors 128 "GIF:$IMG/login_bj.gif"

# ---------------------------------------------------------------- editor toolbar
# 23x22 buttons on the toolbar grey RGB(198,195,198): x.gif at rest (flat),
# x1.gif under the mouse (raised), x2.gif pressed (sunken, moved one pixel).
TG='#c6c3c6'
toolbar() { # name draw-args...
  name=$1; shift
  layer="$WORK/$name.png"
  convert -size 23x22 xc:none -strokewidth 1 "$@" "PNG32:$layer"
  convert -size 23x22 xc:"$TG" "$layer" -composite \
    -dither None -colors 64 "GIF:$TB/$name.gif"
  convert -size 23x22 xc:'#d9d6d9' "$layer" -composite -fill none \
    -stroke '#ffffff' -draw 'line 0,0 22,0' -draw 'line 0,0 0,21' \
    -stroke '#808080' -draw 'line 22,0 22,21' -draw 'line 0,21 22,21' \
    -dither None -colors 64 "GIF:$TB/${name}1.gif"
  convert -size 23x22 xc:'#b5b2b5' "$layer" -geometry +1+1 -composite -fill none \
    -stroke '#808080' -draw 'line 0,0 22,0' -draw 'line 0,0 0,21' \
    -stroke '#ffffff' -draw 'line 22,0 22,21' -draw 'line 0,21 22,21' \
    -dither None -colors 64 "GIF:$TB/${name}2.gif"
}
WORK=$(mktemp -d)
trap 'rm -rf "$WORK"' EXIT

toolbar cut    -font "$SYM" -pointsize 16 -fill '#1a1a1a' -gravity center -annotate +0+0 '✂'
toolbar copy   -fill '#ffffff' -stroke '#4e6a88' -draw 'rectangle 5,4 13,14' -draw 'rectangle 9,8 17,18'
toolbar paste  -fill '#c9a36b' -stroke '#6b4e1f' -draw 'roundrectangle 5,4 17,18 1,1' \
               -fill '#ffffff' -stroke '#4e6a88' -draw 'rectangle 8,7 14,16' -fill '#808080' -stroke none -draw 'rectangle 9,3 13,5'
toolbar bold   -font "$SERIFB" -pointsize 15 -fill '#1a1a1a' -gravity center -annotate +0+0 'B'
toolbar italic -font "$SERIFBI" -pointsize 15 -fill '#1a1a1a' -gravity center -annotate +0+0 'I'
toolbar under  -font "$SERIFB" -pointsize 14 -fill '#1a1a1a' -gravity center -annotate +0-1 'U' \
               -draw 'rectangle 6,17 16,17'
toolbar aleft  -fill '#1a1a1a' -draw 'rectangle 5,5 17,5' -draw 'rectangle 5,8 13,8' -draw 'rectangle 5,11 17,11' -draw 'rectangle 5,14 13,14' -draw 'rectangle 5,17 17,17'
toolbar center -fill '#1a1a1a' -draw 'rectangle 5,5 17,5' -draw 'rectangle 7,8 15,8' -draw 'rectangle 5,11 17,11' -draw 'rectangle 7,14 15,14' -draw 'rectangle 5,17 17,17'
toolbar aright -fill '#1a1a1a' -draw 'rectangle 5,5 17,5' -draw 'rectangle 9,8 17,8' -draw 'rectangle 5,11 17,11' -draw 'rectangle 9,14 17,14' -draw 'rectangle 5,17 17,17'
toolbar wlink  -fill none -stroke "$BLUE" -strokewidth 2 -draw 'roundrectangle 3,8 12,13 3,3' -draw 'roundrectangle 10,8 19,13 3,3'
toolbar img    -fill '#dff0ff' -stroke '#4e6a88' -draw 'rectangle 3,4 19,17' -stroke none -fill '#3f8f3f' \
               -draw 'polygon 4,16 9,9 13,14 15,12 18,16' -fill "$YELLOW" -draw 'circle 15,7 15,5'
toolbar flash  -fill '#e03a1e' -stroke '#8a1b0b' -draw 'polygon 13,2 6,12 10,12 8,20 16,9 12,9 15,2'
toolbar table  -fill '#ffffff' -stroke '#4e6a88' -draw 'rectangle 3,4 19,17' \
               -draw 'line 3,8 19,8' -draw 'line 3,12 19,12' -draw 'line 9,4 9,17' -draw 'line 14,4 14,17' \
               -fill '#9fb5cc' -stroke none -draw 'rectangle 4,5 18,7'

echo "images written under $IMG and $TB"
