// Sizes that textures are rounded to.
#pragma once

/// `value` to a multiple of 4: up for values to 4096, down above.
int Get2(int value);

/// `value` to a multiple of 16: up for values to 4096, down above. Nothing calls it.
int Get4(int value);

/// The power of two that is nearest to `value` on a logarithmic scale (724 gives 512, 725 gives
/// 1024); 1 for values below 1.
int NearestPowerOfTwo(int value);

/// Width and height of a texture in texels.
struct TextureSize {
  int width = 0, height = 0;

  bool operator==(const TextureSize&) const = default;
};

/// The size of the texture for a bitmap: halved once when a side reaches `limit` (already at
/// equality), then rounded to powers of two, or to multiples of four.
TextureSize TextureSizeFor(TextureSize bitmap, int limit, bool powersOfTwo);

/// Both sides halved, truncating, but not below one texel: a picture one texel wide stays one.
TextureSize Halved(TextureSize size);
