// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// Draws the rendered frame into the panes: one picture, any number of views of it.
import { flatBox, frameOf, globeEye, globeScale, halfWidthOf, viewOf } from '../sphere/camera';
import type { Camera, ViewKind } from '../sphere/camera';
import { placeOf } from '../sphere/geometry';

/** A pane in device pixels, from the canvas's upper left corner. */
export interface PaneBox {
  readonly kind: ViewKind;
  readonly x: number;
  readonly y: number;
  readonly width: number;
  readonly height: number;
}

export interface Shown {
  readonly width: number;
  readonly height: number;
  readonly pixels: Uint8Array<ArrayBuffer>;
}

export interface Painter {
  /** Takes the 8-bit RGBA picture that is shown from now on. */
  setPicture(picture: Shown): void;
  /** The aspect of the picture at full resolution. */
  paint(panes: readonly PaneBox[], camera: Camera, pictureAspect: number): void;
}

const vertexShader = `#version 300 es
out vec2 point;
void main() {
  point = vec2(gl_VertexID & 1, gl_VertexID >> 1);
  gl_Position = vec4(point * 4.0 - 1.0, 0.0, 1.0);
  point = vec2(point.x * 2.0, 1.0 - point.y * 2.0);
}`;

const fragmentShader = `#version 300 es
precision highp float;
uniform sampler2D picture;
uniform int kind;
uniform vec4 box;
uniform vec2 halfSize;
uniform mat3 frame;
uniform float eye;
uniform float checker;
in vec2 point;
out vec4 colour;
const float pi = 3.14159265358979;

vec2 placeOf(vec3 d) {
  return vec2(atan(d.x, -d.z) / (2.0 * pi) + 0.5, asin(clamp(d.y, -1.0, 1.0)) / pi + 0.5);
}

void main() {
  colour = vec4(0.0);
  vec2 place;
  if (kind == 0) {
    place = (point - box.xy) / box.zw;
    if (place.x < 0.0 || place.y < 0.0 || place.x > 1.0 || place.y > 1.0) return;
    // Pixels that are larger than the screen's stay pixels' neighbours, not repeated borders.
    vec2 size = vec2(textureSize(picture, 0));
    place.y = clamp(place.y, 0.5 / size.y, 1.0 - 0.5 / size.y);
  } else if (kind == 1) {
    vec2 p = (point * 2.0 - 1.0) * halfSize;
    place = placeOf(normalize(frame * vec3(p, 1.0)));
  } else {
    vec2 p = (point * 2.0 - 1.0) * halfSize;
    vec3 ray = normalize(vec3(p, -1.0));
    float toCentre = -ray.z * eye;
    float inside = toCentre * toCentre - eye * eye + 1.0;
    if (inside < 0.0) return;
    float t = toCentre - sqrt(inside);
    place = placeOf(frame * (vec3(0.0, 0.0, eye) + ray * t));
  }
  // Explicit derivatives would jump at the seam, so the largest resolution is always read.
  vec4 texel = textureLod(picture, place, 0.0);
  vec2 cell = floor(gl_FragCoord.xy / checker);
  float grey = mod(cell.x + cell.y, 2.0) < 0.5 ? 0.62 : 0.5;
  colour = vec4(mix(vec3(grey), texel.rgb, texel.a), 1.0);
}`;

function compiled(gl: WebGL2RenderingContext, type: number, source: string): WebGLShader {
  const shader = gl.createShader(type);
  if (shader === null) {
    throw new Error('the graphics system gave no shader');
  }
  gl.shaderSource(shader, source);
  gl.compileShader(shader);
  if (gl.getShaderParameter(shader, gl.COMPILE_STATUS) !== true) {
    throw new Error(gl.getShaderInfoLog(shader) ?? 'a shader does not compile');
  }
  return shader;
}

const kindNumbers: Record<ViewKind, number> = { flat: 0, inside: 1, globe: 2 };

class GlPainter implements Painter {
  readonly #gl: WebGL2RenderingContext;
  readonly #program: WebGLProgram;
  readonly #places: Record<string, WebGLUniformLocation | null>;
  #width = 0;
  #height = 0;

  constructor(gl: WebGL2RenderingContext) {
    this.#gl = gl;
    const program = gl.createProgram();
    gl.attachShader(program, compiled(gl, gl.VERTEX_SHADER, vertexShader));
    gl.attachShader(program, compiled(gl, gl.FRAGMENT_SHADER, fragmentShader));
    gl.linkProgram(program);
    if (gl.getProgramParameter(program, gl.LINK_STATUS) !== true) {
      throw new Error(gl.getProgramInfoLog(program) ?? 'the shaders do not fit together');
    }
    this.#program = program;
    this.#places = Object.fromEntries(
      ['kind', 'box', 'halfSize', 'frame', 'eye', 'checker'].map((name) => [
        name,
        gl.getUniformLocation(program, name),
      ]),
    );
    gl.bindTexture(gl.TEXTURE_2D, gl.createTexture());
    gl.texParameteri(gl.TEXTURE_2D, gl.TEXTURE_MIN_FILTER, gl.LINEAR);
    gl.texParameteri(gl.TEXTURE_2D, gl.TEXTURE_MAG_FILTER, gl.LINEAR);
    gl.texParameteri(gl.TEXTURE_2D, gl.TEXTURE_WRAP_S, gl.REPEAT);
    gl.texParameteri(gl.TEXTURE_2D, gl.TEXTURE_WRAP_T, gl.CLAMP_TO_EDGE);
    gl.pixelStorei(gl.UNPACK_ALIGNMENT, 1);
  }

  setPicture(picture: Shown): void {
    const gl = this.#gl;
    const { width, height, pixels } = picture;
    if (width === this.#width && height === this.#height) {
      gl.texSubImage2D(gl.TEXTURE_2D, 0, 0, 0, width, height, gl.RGBA, gl.UNSIGNED_BYTE, pixels);
    } else {
      gl.texImage2D(
        gl.TEXTURE_2D, 0, gl.RGBA8, width, height, 0, gl.RGBA, gl.UNSIGNED_BYTE, pixels,
      );
      this.#width = width;
      this.#height = height;
    }
  }

  paint(panes: readonly PaneBox[], camera: Camera, pictureAspect: number): void {
    const gl = this.#gl;
    gl.disable(gl.SCISSOR_TEST);
    gl.clearColor(0, 0, 0, 0);
    gl.clear(gl.COLOR_BUFFER_BIT);
    if (this.#width === 0) {
      return;
    }
    gl.useProgram(this.#program);
    gl.enable(gl.SCISSOR_TEST);
    for (const pane of panes) {
      this.#paintPane(pane, camera, pictureAspect);
    }
  }

  #paintPane(pane: PaneBox, camera: Camera, pictureAspect: number): void {
    const gl = this.#gl;
    const places = this.#places;
    const aspect = pane.width / pane.height;
    const bottom = gl.drawingBufferHeight - pane.y - pane.height;
    gl.viewport(pane.x, bottom, pane.width, pane.height);
    gl.scissor(pane.x, bottom, pane.width, pane.height);
    const box = flatBox(aspect, pictureAspect);
    const halfWidth = halfWidthOf(camera, aspect);
    const half =
      pane.kind === 'globe' ? globeScale(aspect) : { x: halfWidth, y: halfWidth / aspect };
    const { right, down, ahead } = frameOf(camera);
    gl.uniform1i(places['kind'] ?? null, kindNumbers[pane.kind]);
    gl.uniform4f(places['box'] ?? null, box.x, box.y, box.width, box.height);
    gl.uniform2f(places['halfSize'] ?? null, half.x, half.y);
    gl.uniform1f(places['eye'] ?? null, globeEye);
    gl.uniform1f(places['checker'] ?? null, 8 * devicePixelRatio);
    gl.uniformMatrix3fv(places['frame'] ?? null, false, [
      ...[right.x, right.y, right.z, down.x, down.y, down.z, ahead.x, ahead.y, ahead.z],
    ]);
    gl.drawArrays(gl.TRIANGLES, 0, 3);
  }
}

/** The same with plain arithmetic, where there is no WebGL: at a quarter of the pixels. */
class PlainPainter implements Painter {
  readonly #context: CanvasRenderingContext2D;
  #picture: Shown | null = null;
  static readonly #step = 2;

  constructor(context: CanvasRenderingContext2D) {
    this.#context = context;
  }

  setPicture(picture: Shown): void {
    this.#picture = picture;
  }

  paint(panes: readonly PaneBox[], camera: Camera, pictureAspect: number): void {
    const { canvas } = this.#context;
    this.#context.clearRect(0, 0, canvas.width, canvas.height);
    for (const pane of panes) {
      this.#paintPane(pane, camera, pictureAspect);
    }
  }

  #paintPane(pane: PaneBox, camera: Camera, pictureAspect: number): void {
    const picture = this.#picture;
    const width = Math.floor(pane.width / PlainPainter.#step);
    const height = Math.floor(pane.height / PlainPainter.#step);
    if (picture === null || width < 1 || height < 1) {
      return;
    }
    const image = new ImageData(width, height);
    const aspect = pane.width / pane.height;
    const view = viewOf(pane.kind, camera, aspect, pictureAspect);
    const box = flatBox(aspect, pictureAspect);
    for (let y = 0; y < height; ++y) {
      for (let x = 0; x < width; ++x) {
        const point = { x: (x + 0.5) / width, y: (y + 0.5) / height };
        const flat = { x: (point.x - box.x) / box.width, y: (point.y - box.y) / box.height };
        const outside = flat.x < 0 || flat.x >= 1 || flat.y < 0 || flat.y >= 1;
        const seen = pane.kind === 'flat' ? null : view.see(point);
        const place = pane.kind === 'flat' ? (outside ? null : flat) : seen && placeOf(seen);
        if (place !== null) {
          copyPixel(picture, place, image, (y * width + x) * 4);
        }
      }
    }
    this.#draw(image, pane);
  }

  #draw(image: ImageData, pane: PaneBox): void {
    const small = new OffscreenCanvas(image.width, image.height);
    small.getContext('2d')?.putImageData(image, 0, 0);
    this.#context.drawImage(small, pane.x, pane.y, pane.width, pane.height);
  }
}

function copyPixel(
  picture: Shown,
  place: { x: number; y: number },
  image: ImageData,
  to: number,
): void {
  const x = Math.min(picture.width - 1, Math.floor(place.x * picture.width));
  const y = Math.min(picture.height - 1, Math.floor(place.y * picture.height));
  const from = (y * picture.width + x) * 4;
  image.data.set(picture.pixels.subarray(from, from + 4), to);
}

export function makePainter(canvas: HTMLCanvasElement): Painter {
  const gl = canvas.getContext('webgl2', { alpha: true, antialias: false, depth: false });
  if (gl !== null) {
    return new GlPainter(gl);
  }
  const context = canvas.getContext('2d');
  if (context === null) {
    throw new Error('this browser draws nothing');
  }
  return new PlainPainter(context);
}
