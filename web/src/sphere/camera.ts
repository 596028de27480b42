// Copyright 2026 The Veltra Authors
// SPDX-License-Identifier: BSD-3-Clause
// The three ways to see the sphere: flat, from inside, from outside.
import { dot, rotated, unit, type Place, type Vector, directionOf, placeOf } from './geometry';

export type ViewKind = 'flat' | 'inside' | 'globe';

/** Degrees: yaw to the right, pitch upwards, and what a square pane sees from side to side. */
export interface Camera {
  readonly yaw: number;
  readonly pitch: number;
  readonly fieldOfView: number;
}

/** A point of a pane, each from 0 to 1 across it. */
export interface PanePoint {
  readonly x: number;
  readonly y: number;
}

/** A view of the sphere in a pane of an aspect (width over height). */
export interface View {
  /** What is seen at a point of the pane; null for what lies beside the picture. */
  see(point: PanePoint): Vector | null;
  /** Where a direction is seen; null when it is behind or hidden. */
  show(direction: Vector): PanePoint | null;
}

/** How much of the pane the globe fills. */
const globeRadius = 0.92;
/** How far the globe's eye is, in radii. */
const globeDistance = 3.2;

/** Columns of the rotation: right, down and ahead in the sphere's coordinates. */
export interface Frame {
  readonly right: Vector;
  readonly down: Vector;
  readonly ahead: Vector;
}

export function frameOf(camera: Camera): Frame {
  const yaw = (camera.yaw * Math.PI) / 180;
  const pitch = (camera.pitch * Math.PI) / 180;
  const turn = (v: Vector): Vector => rotated(v, { x: 0, y: 1, z: 0 }, -yaw);
  // Rows grow downwards, so looking up is towards -y.
  const ahead = turn({ x: 0, y: -Math.sin(pitch), z: -Math.cos(pitch) });
  const right = turn({ x: 1, y: 0, z: 0 });
  const down = turn({ x: 0, y: Math.cos(pitch), z: -Math.sin(pitch) });
  return { right, down, ahead };
}

/** Half the pane's width at distance 1 in front of the eye; panes of one area see as much. */
export function halfWidthOf(camera: Camera, paneAspect: number): number {
  return Math.tan((camera.fieldOfView * Math.PI) / 360) * Math.sqrt(paneAspect);
}

/** The part of a pane that a flat picture of an aspect fills, centred. */
export function flatBox(
  paneAspect: number,
  pictureAspect: number,
): { x: number; y: number; width: number; height: number } {
  const width = Math.min(1, pictureAspect / paneAspect);
  const height = Math.min(1, paneAspect / pictureAspect);
  return { x: (1 - width) / 2, y: (1 - height) / 2, width, height };
}

function flatView(paneAspect: number, pictureAspect: number): View {
  const box = flatBox(paneAspect, pictureAspect);
  return {
    // A little beyond the edge still counts: the left edge is the right one's neighbour.
    see: (point) =>
      directionOf({
        x: (point.x - box.x) / box.width,
        y: Math.max(0, Math.min(1, (point.y - box.y) / box.height)),
      }),
    show: (direction) => inBox(placeOf(direction), box),
  };
}

function inBox(place: Place, box: { x: number; y: number; width: number; height: number }): PanePoint {
  return { x: box.x + place.x * box.width, y: box.y + place.y * box.height };
}

function insideView(camera: Camera, paneAspect: number): View {
  const { right, down, ahead } = frameOf(camera);
  const halfWidth = halfWidthOf(camera, paneAspect);
  const halfHeight = halfWidth / paneAspect;
  return {
    see: (point) => {
      const x = (point.x * 2 - 1) * halfWidth;
      const y = (point.y * 2 - 1) * halfHeight;
      return unit({
        x: right.x * x + down.x * y + ahead.x,
        y: right.y * x + down.y * y + ahead.y,
        z: right.z * x + down.z * y + ahead.z,
      });
    },
    show: (direction) => {
      const depth = dot(direction, ahead);
      if (depth < 0.02) {
        return null;
      }
      return {
        x: (dot(direction, right) / depth / halfWidth + 1) / 2,
        y: (dot(direction, down) / depth / halfHeight + 1) / 2,
      };
    },
  };
}

/** The scale that makes the globe fill the smaller side of the pane. */
export function globeScale(paneAspect: number): { x: number; y: number } {
  const limb = 1 / Math.sqrt(globeDistance * globeDistance - 1);
  const small = limb / globeRadius;
  return paneAspect >= 1 ? { x: small * paneAspect, y: small } : { x: small, y: small / paneAspect };
}

export const globeEye = globeDistance;

/** The sphere seen from outside: what is seen lies towards the eye, mirrored as on a globe. */
function globeView(camera: Camera, paneAspect: number): View {
  const { right, down, ahead } = frameOf(camera);
  const scale = globeScale(paneAspect);
  return {
    see: (point) => {
      const x = (point.x * 2 - 1) * scale.x;
      const y = (point.y * 2 - 1) * scale.y;
      const ray = unit({ x, y, z: -1 });
      const toCentre = -ray.z * globeDistance;
      const inside = toCentre * toCentre - globeDistance * globeDistance + 1;
      if (inside < 0) {
        return null;
      }
      const t = toCentre - Math.sqrt(inside);
      const hit = { x: ray.x * t, y: ray.y * t, z: globeDistance + ray.z * t };
      return {
        x: right.x * hit.x + down.x * hit.y + ahead.x * hit.z,
        y: right.y * hit.x + down.y * hit.y + ahead.y * hit.z,
        z: right.z * hit.x + down.z * hit.y + ahead.z * hit.z,
      };
    },
    show: (direction) => {
      const z = dot(direction, ahead);
      if (z < 1 / globeDistance) {
        return null;
      }
      const depth = globeDistance - z;
      return {
        x: (dot(direction, right) / depth / scale.x + 1) / 2,
        y: (dot(direction, down) / depth / scale.y + 1) / 2,
      };
    },
  };
}

export function viewOf(
  kind: ViewKind,
  camera: Camera,
  paneAspect: number,
  pictureAspect: number,
): View {
  switch (kind) {
    case 'flat':
      return flatView(paneAspect, pictureAspect);
    case 'inside':
      return insideView(camera, paneAspect);
    case 'globe':
      return globeView(camera, paneAspect);
  }
}

/** The camera after looking from one point of the pane to another. */
export function lookedAround(camera: Camera, dx: number, dy: number, paneAspect: number): Camera {
  const seen = camera.fieldOfView * Math.sqrt(paneAspect);
  const pitch = camera.pitch + (dy * seen) / paneAspect;
  return {
    ...camera,
    yaw: ((((camera.yaw - dx * seen + 180) % 360) + 360) % 360) - 180,
    pitch: Math.max(-90, Math.min(90, pitch)),
  };
}

export function zoomed(camera: Camera, factor: number): Camera {
  return { ...camera, fieldOfView: Math.max(20, Math.min(130, camera.fieldOfView * factor)) };
}
