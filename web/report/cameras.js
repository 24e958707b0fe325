// Where did it move, before each camera?  Its heat map, or the background that was learned.
import { byId, make, makeToggle } from "../elements.js";
import { askPlaces } from "../place.js";

export function showCameras(cameras) {
  const place = document.querySelector("#cameras .cards");
  byId("cameras").hidden = !cameras.length;
  for (const camera of cameras) {
    const figure = make("figure"), scene = make("div", "", "scene"), caption = make("figcaption");
    const picture = make("img"), toggle = makeToggle("Background");
    picture.src = camera.heat;
    picture.alt = "Where it moved";
    picture.style.aspectRatio = camera.width + " / " + camera.height;
    toggle.addEventListener("click", () => {
      const bare = toggle.getAttribute("aria-pressed") !== "true";
      toggle.setAttribute("aria-pressed", bare);
      picture.src = bare ? camera.background : camera.heat;
      picture.alt = bare ? "Learned background" : "Where it moved";
    });
    caption.append(make("b", camera.camera), toggle);
    picture.draggable = false;
    scene.append(picture);
    askPlaces(scene, camera);
    figure.append(caption, scene);
    place.append(figure);
  }
}
