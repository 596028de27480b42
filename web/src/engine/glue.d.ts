// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The compiler's glue around the WebAssembly module.

declare module '@wasm/veltra_web.js' {
  export interface VeltraModule {
    readonly HEAPU8: Uint8Array;
    readonly HEAP32: Int32Array;
    UTF8ToString(address: number): string;
    _malloc(bytes: number): number;
    _free(address: number): void;
    _VeltraError(): number;
    _VeltraDescribe(): number;
    _VeltraDefault(index: number, width: number, height: number, point: number): number;
    _VeltraOnGreatCircle(
      fromX: number,
      fromY: number,
      toX: number,
      toY: number,
      share: number,
      width: number,
      height: number,
      point: number,
    ): number;
    _VeltraMakePicture(
      width: number,
      height: number,
      channels: number,
      sampleType: number,
      premultiplied: number,
      depth: number,
      rows: number,
    ): number;
    _VeltraDrawSample(layer: number, width: number, height: number): number;
    _VeltraReducePicture(picture: number, factor: number): number;
    _VeltraFreePicture(picture: number): void;
    _VeltraPictureWidth(picture: number): number;
    _VeltraPictureHeight(picture: number): number;
    _VeltraRender(numbers: number, count: number): number;
    _VeltraPackPicture(
      picture: number,
      sampleType: number,
      alpha: number,
      premultiplied: number,
      out: number,
    ): number;
    _VeltraShowPicture(picture: number, linear: number, gain: number, out: number): number;
  }

  export interface VeltraOptions {
    /** Makes the instance from a module that was compiled before. */
    instantiateWasm?(
      imports: WebAssembly.Imports,
      receive: (instance: WebAssembly.Instance) => void,
    ): WebAssembly.Exports | Record<string, never>;
    wasmBinary?: Uint8Array;
  }

  export default function createVeltra(options: VeltraOptions): Promise<VeltraModule>;
}
