"""As much of SVG as the plots need."""
from xml.sax.saxutils import escape

INK, FAINT = "#333333", "#bbbbbb"


class Drawing:
    def __init__(self, width, height):
        self.parts = [
            '<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 %d %d" width="%d" height="%d" '
            'font-family="sans-serif" font-size="12">' % (width, height, width, height)]
        self.bar(0, 0, width, height, "#ffffff")

    def bar(self, x, y, width, height, colour):
        self.parts.append('<rect x="%.1f" y="%.1f" width="%.1f" height="%.1f" fill="%s"/>' %
                          (x, y, width, height, colour))

    def line(self, x1, y1, x2, y2, colour=FAINT, width=1.0):
        self.parts.append('<line x1="%.1f" y1="%.1f" x2="%.1f" y2="%.1f" stroke="%s" '
                          'stroke-width="%g"/>' % (x1, y1, x2, y2, colour, width))

    def dot(self, x, y, colour):
        self.parts.append('<circle cx="%.1f" cy="%.1f" r="4" fill="%s"/>' % (x, y, colour))

    def text(self, x, y, words, anchor="start", colour=INK):
        self.parts.append('<text x="%.1f" y="%.1f" text-anchor="%s" fill="%s">%s</text>' %
                          (x, y, anchor, colour, escape(words)))

    def svg(self):
        return "\n".join(self.parts + ["</svg>", ""])

    def save(self, path):
        path.write_text(self.svg(), encoding="utf-8")
