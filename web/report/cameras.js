// Where did it move, before each camera?  Its heat map, or the background that was learned.
import { byId, make, makeToggle } from "../elements.js";
import { cameras as names } from "../model/state.js";
import { askPlaces } from "../place.js";
import { shareText } from "../texts.js";

// From which share of the analysed time on, a place has this colour.
function heatLegend(colours) {
  const legend = make("p", "", "heatlegend");
  for (const { red, green, blue, share } of colours) {
    const mark = make("i");
    mark.style.background = `rgb(${red},${green},${blue})`;
    legend.append(mark, make("small", shareText(share)));
  }
  legend.title = "Share of the time in which something moved there";
  legend.hidden = !colours.length;
  return legend;
}

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
    caption.append(make("b", names.get(camera.camera)), toggle, heatLegend(camera.heat_colours));
    caption.title = camera.camera;
    picture.draggable = false;
    scene.append(picture);
    askPlaces(scene, camera);
    figure.append(caption, scene);
    place.append(figure);
  }
}
