-- Dissector for Wireshark and tshark: tshark -X lua_script:zxap.lua -r FILE
-- Printed by showremote dissector, from version @CONTRACT@ of the contract.

local names = {
@NAMES@}

local REPLY_BIT, HEADER_BYTES, ID_HEADER_BYTES = 0x10000000, 12, 24

local zxap = Proto("zxap", "Show control")
local code_field = ProtoField.uint32("zxap.code", "Code, without the reply bit", base.HEX)
local name_field = ProtoField.string("zxap.name", "Name")
local reply_field = ProtoField.bool("zxap.reply", "Reply")
local length_field = ProtoField.uint32("zxap.length", "Length of the body")
local id_field = ProtoField.guid("zxap.id", "Id of the data")
zxap.fields = {code_field, name_field, reply_field, length_field, id_field}

local json = Dissector.get("json")
local data = Dissector.get("data")

local function dissect_body(body, pinfo, tree)
    local first = body(0, 1):uint()
    if first == 0x7b or first == 0x5b then
        json:call(body, pinfo, tree)
    elseif body:len() >= ID_HEADER_BYTES and body(0, 4):string() == "ZXID" then
        tree:add(id_field, body(4, 16))
        if body:len() > ID_HEADER_BYTES then
            data:call(body(ID_HEADER_BYTES):tvb(), pinfo, tree)
        end
    else
        data:call(body, pinfo, tree)
    end
end

local function dissect_envelope(buffer, pinfo, tree)
    local sent = buffer(4, 4):uint()
    local is_reply = bit32.band(sent, REPLY_BIT) ~= 0
    local code = bit32.band(sent, bit32.bnot(REPLY_BIT))
    local name = names[code] or "unknown"
    local branch = tree:add(zxap, buffer())
    branch:add(code_field, buffer(4, 4), code)
    branch:add(name_field, buffer(4, 4), name)
    branch:add(reply_field, buffer(4, 4), is_reply)
    branch:add(length_field, buffer(8, 4))
    if buffer:len() > HEADER_BYTES then
        dissect_body(buffer(HEADER_BYTES):tvb(), pinfo, branch)
    end
    pinfo.cols.protocol = "ZXAP"
    pinfo.cols.info = string.format("%s%s (0x%03x)", is_reply and "reply " or "", name, code)
    return buffer:len()
end

local function length_of(buffer, _, offset)
    return HEADER_BYTES + buffer(offset + 8, 4):uint()
end

function zxap.dissector(buffer, pinfo, tree)
    if pinfo.can_desegment > 0 then
        dissect_tcp_pdus(buffer, tree, HEADER_BYTES, length_of, dissect_envelope)
    elseif buffer:len() >= HEADER_BYTES and buffer(0, 4):string() == "ZXAP" then
        dissect_envelope(buffer, pinfo, tree)
    elseif buffer:len() > 0 then
        -- A datagram of central control or discovery, or a frame of the cloud.
        pinfo.cols.protocol = "ZXAP"
        dissect_body(buffer(0):tvb(), pinfo, tree:add(zxap, buffer()))
    end
    return buffer:len()
end

for _, port in ipairs({25506, 25507, 25510}) do
    DissectorTable.get("tcp.port"):add(port, zxap)
end
for _, port in ipairs({25505, 25509}) do
    DissectorTable.get("udp.port"):add(port, zxap)
end
