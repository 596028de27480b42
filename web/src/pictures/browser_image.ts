// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Pictures that the browser decodes (JPEG, WebP, AVIF ...), with their alpha straight.
import { checkSize, PictureFailure } from './formats';

export interface BrowserPicture {
  readonly width: number;
  readonly height: number;
  /** RGBA rows from the top. */
  readonly data: Uint8Array<ArrayBuffer>;
}

/** A canvas multiplies colour by alpha and loses what is below; a texture keeps it. */
function throughTexture(bitmap: ImageBitmap): Uint8Array<ArrayBuffer> | null {
  const gl = new OffscreenCanvas(1, 1).getContext('webgl2');
  const most = gl === null ? 0 : (gl.getParameter(gl.MAX_TEXTURE_SIZE) as number);
  if (gl === null || bitmap.width > most || bitmap.height > most) {
    return null;
  }
  gl.pixelStorei(gl.UNPACK_PREMULTIPLY_ALPHA_WEBGL, false);
  gl.pixelStorei(gl.UNPACK_COLORSPACE_CONVERSION_WEBGL, gl.NONE);
  const texture = gl.createTexture();
  gl.bindTexture(gl.TEXTURE_2D, texture);
  gl.texImage2D(gl.TEXTURE_2D, 0, gl.RGBA8, gl.RGBA, gl.UNSIGNED_BYTE, bitmap);
  gl.bindFramebuffer(gl.FRAMEBUFFER, gl.createFramebuffer());
  gl.framebufferTexture2D(gl.FRAMEBUFFER, gl.COLOR_ATTACHMENT0, gl.TEXTURE_2D, texture, 0);
  const data = new Uint8Array(bitmap.width * bitmap.height * 4);
  gl.readPixels(0, 0, bitmap.width, bitmap.height, gl.RGBA, gl.UNSIGNED_BYTE, data);
  const failed = gl.getError() !== gl.NO_ERROR;
  gl.getExtension('WEBGL_lose_context')?.loseContext();
  return failed ? null : data;
}

function throughCanvas(bitmap: ImageBitmap): Uint8Array<ArrayBuffer> {
  const context = new OffscreenCanvas(bitmap.width, bitmap.height).getContext('2d');
  if (context === null) {
    throw new PictureFailure('this browser gives no pixels of its pictures');
  }
  context.drawImage(bitmap, 0, 0);
  return new Uint8Array(context.getImageData(0, 0, bitmap.width, bitmap.height).data.buffer);
}

export async function readThroughBrowser(file: Blob, opaque: boolean): Promise<BrowserPicture> {
  let bitmap: ImageBitmap;
  try {
    bitmap = await createImageBitmap(file, {
      premultiplyAlpha: 'none',
      colorSpaceConversion: 'none',
    });
  } catch {
    throw new PictureFailure('this browser cannot read the picture (it may be damaged)');
  }
  const { width, height } = bitmap;
  checkSize(width, height);
  const data = (opaque ? null : throughTexture(bitmap)) ?? throughCanvas(bitmap);
  bitmap.close();
  return { width, height, data };
}
