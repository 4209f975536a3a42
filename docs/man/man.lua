-- Makes of docs/command-line.md what a man page has: sections without a document's title, lists of options
-- instead of tables, which are wider than a terminal, and no links between files.
local text = require "text"  -- upper() for all letters

local SEE_ALSO = "The documentation of ORVEX: formats.md, parameters.md, presolve.md, companion.md, traces.md, " ..
  "generators.md, instances.md, performance.md."


-- A table of two columns is a list of terms and what they mean.
function Table(tbl)
  local simple = pandoc.utils.to_simple_table(tbl)
  if #simple.headers ~= 2 then return nil end
  local items = {}
  for _, row in ipairs(simple.rows) do
    local term = pandoc.utils.blocks_to_inlines(row[1])
    table.insert(items, { term, { row[2] } })
  end
  return pandoc.DefinitionList(items)
end

function Link(link)
  return link.content
end

-- What is typed is bold, since pandoc's own font for it is none that terminals have, and its hyphens are
-- those of a keyboard.
local function typed(text)
  return text:gsub("\\", "\\e"):gsub("-", "\\-"):gsub("\n([.'])", "\n\\&%1")
end

function Code(code)
  return pandoc.RawInline("man", "\\f[B]" .. typed(code.text) .. "\\f[R]")
end

function CodeBlock(block)
  return pandoc.RawBlock("man", ".IP\n.nf\n" .. typed(block.text) .. "\n.fi")
end

function Pandoc(document)
  local blocks = pandoc.List()
  blocks:insert(pandoc.Header(1, "NAME"))
  blocks:insert(pandoc.Para({ pandoc.Str("orvex - search for the lowest-energy bit vector of a QUBO problem") }))
  blocks:insert(pandoc.Header(1, "SYNOPSIS"))
  for _, block in ipairs(document.blocks) do
    if block.t == "Header" then
      if block.level > 1 then
        local content = block.content
        if block.level == 2 then
          content = { pandoc.Str(text.upper(pandoc.utils.stringify(content))) }
        end
        blocks:insert(pandoc.Header(block.level - 1, content))
      end
    else
      blocks:insert(block)
    end
  end
  blocks:insert(pandoc.Header(1, "SEE ALSO"))
  blocks:insert(pandoc.Para({ pandoc.Str(SEE_ALSO) }))
  document.blocks = blocks
  document.meta = pandoc.Meta({
    title = pandoc.MetaString("ORVEX"), section = pandoc.MetaString("1"),
    footer = pandoc.MetaString("ORVEX"), header = pandoc.MetaString("ORVEX's manual"),
  })
  return document
end
